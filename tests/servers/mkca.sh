#!/usr/bin/env bash
# Makes a certificate authority of the tests' own and two server certificates: server.pem for this machine, other.pem for another name.
#   mkca.sh FOLDER
set -euo pipefail
mkdir -p "$1"
cd "$1"

openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 3650 -subj '/CN=Test authority' -keyout ca.key -out ca.pem \
  -addext basicConstraints=critical,CA:TRUE -addext keyUsage=critical,keyCertSign,cRLSign 2>/dev/null

certificate() { # NAME ALTERNATIVE-NAMES
  openssl req -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -subj "/CN=$1" -keyout "$1.key" -out "$1.csr" 2>/dev/null
  openssl x509 -req -in "$1.csr" -CA ca.pem -CAkey ca.key -CAcreateserial -days 3650 -out "$1.pem" \
    -extfile <(printf 'subjectAltName=%s\nbasicConstraints=CA:FALSE\n' "$2") 2>/dev/null
}
certificate server DNS:localhost,IP:127.0.0.1
certificate other DNS:mail.other.test
