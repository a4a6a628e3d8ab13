#!/usr/bin/env bash
# A print server of the tests' own, on loopback, in its own folder, with the queues
#   good       prints into FOLDER/printed/page.prn
#   disabled   accepts jobs and prints none
#   rejecting  accepts no jobs
# prints one line "READY server=ADDRESS:PORT" and serves until it is killed or SECONDS are over.
#   print_server.sh FOLDER SECONDS
set -euo pipefail
folder=$1 life=$2
mkdir -p "$folder"/{root,spool,cache,state/certs,tmp,log,printed}
port=$(/usr/bin/python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
export CUPS_SERVER=127.0.0.1:$port
user=$(id -un)
[ "$user" != root ] || user=lp

cat >"$folder/cups-files.conf" <<END
ServerRoot $folder/root
RequestRoot $folder/spool
CacheDir $folder/cache
StateDir $folder/state
TempDir $folder/tmp
AccessLog $folder/log/access
ErrorLog $folder/log/error
PageLog $folder/log/page
ServerBin /usr/lib/cups
DataDir /usr/share/cups
DocumentRoot /usr/share/cups/doc-root
FileDevice Yes
SystemGroup root lpadmin
User $user
Group $(id -gn "$user")
Sandboxing relaxed
END
cat >"$folder/cupsd.conf" <<END
Listen 127.0.0.1:$port
LogLevel info
Browsing No
DefaultAuthType None
WebInterface No
ErrorPolicy abort-job
PreserveJobFiles No
<Location />
  Order allow,deny
  Allow from 127.0.0.1
</Location>
<Policy default>
  JobPrivateAccess all
  JobPrivateValues none
  SubscriptionPrivateAccess all
  SubscriptionPrivateValues none
  <Limit All>
    Order deny,allow
  </Limit>
</Policy>
END
chmod 755 "$folder" "$folder/printed"
: >"$folder/printed/page.prn"
chmod 666 "$folder/printed/page.prn"
if [ "$(id -u)" -eq 0 ]; then
  chown -R lp:lp "$folder"/{printed,spool,cache,tmp}
fi

/usr/sbin/cupsd -f -c "$folder/cupsd.conf" -s "$folder/cups-files.conf" >"$folder/log/output" 2>&1 &
server=$!
trap 'kill $(jobs -p) 2>/dev/null || true; wait "$server" 2>/dev/null || true' EXIT
trap 'exit 0' TERM INT
for _ in $(seq 100); do
  lpstat -r 2>/dev/null | grep -q 'is running' && break
  sleep 0.1
done
for queue in good disabled rejecting; do
  lpadmin -p "$queue" -E -v "file:$folder/printed/page.prn" -m lsb/usr/cupsfilters/Generic-PDF_Printer-PDF.ppd -D "The $queue printer" \
    -o PageSize=A4 2>/dev/null
done
cupsdisable -r "out of paper" disabled
cupsreject -r "closed today" rejecting
echo "READY server=$CUPS_SERVER"
sleep "$life" &
wait $!
