# Sourced: runs Windows programs of this project under Wine. Needs common.sh before it.
# Wine hands no QT_ variable on; WINEQT_x arrives as QT_x, and WINEPATH as part of PATH. TEMP and TMP come from the registry of the prefix.
export WINEPREFIX=${QM_WINE_PREFIX:-$work/wine} WINEARCH=win64 WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES='mscoree,mshtml=;winemenubuilder.exe='

# windows_path PATH: as a program under Wine names it.
windows_path() { printf 'Z:%s' "${1//\//\\}"; }

# The libraries beside Qt and in the prefix are found, and the off-screen platform has fonts.
WINEPATH="$(windows_path "$qt/bin");$(windows_path "$prefix/bin")"
WINEQT_PLUGIN_PATH=$(windows_path "$qt/plugins")
export WINEPATH WINEQT_PLUGIN_PATH WINEQT_FORCE_STDERR_LOGGING=1 WINEQT_QPA_FONTDIR='Z:\usr\share\fonts\truetype\dejavu'

# need_wine: installs Wine and makes the prefix the first time.
need_wine() {
  need_packages wine wine64 xvfb xauth fonts-dejavu-core
  [ ! -f "$WINEPREFIX/.ready" ] || return 0
  say "making a Wine prefix"
  mkdir -p "$(dirname "$WINEPREFIX")"
  xvfb-run -a wine wineboot -i >/dev/null 2>&1 || fail "Wine could not make a prefix in $WINEPREFIX"
  xvfb-run -a wine winecfg /v win10 >/dev/null 2>&1
  # Without a window manager each shown window would wait two seconds for one.
  wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /t REG_SZ /d N /f >/dev/null 2>&1
  # Not every font of this machine comes out whole there ("I" of Liberation Sans is lost).
  local face
  for face in Arial 'Segoe UI' Tahoma 'MS Shell Dlg' 'MS Shell Dlg 2' Verdana; do
    wine reg add 'HKCU\Software\Wine\Fonts\Replacements' /v "$face" /t REG_SZ /d 'DejaVu Sans' /f >/dev/null 2>&1
  done
  wine reg add 'HKCU\Software\Wine\Fonts\Replacements' /v 'Courier New' /t REG_SZ /d 'DejaVu Sans Mono' /f >/dev/null 2>&1
  settle
  touch "$WINEPREFIX/.ready"
}

# settle: waits until the programs have ended and the registry is written.
settle() { wine_server -w || true; }

# wine_server OPTION: what keeps the programs of a prefix together.
wine_server() { timeout 60 "$(command -v wineserver64 || echo /usr/lib/wine/wineserver64)" "$1"; }

# copy_prefix FROM TO TEMPORARY: another prefix, whose programs have their temporary files in the folder TEMPORARY of this machine.
# Files that nobody changes are shared; those of the registry would be written in place where they have several names.
copy_prefix() {
  local folder
  [ ! -d "$2" ] || WINEPREFIX=$2 settle
  rm -rf "$2"
  cp -al "$1" "$2"
  rm -f "$2"/*.reg "$2/.ready"
  cp "$1"/*.reg "$2/"
  folder=$(windows_path "$3")
  folder=${folder//\\/\\\\\\\\}
  sed -i -E "s/^\"(TEMP|TMP)\"=.*/\"\1\"=\"$folder\"/" "$2/user.reg"
  echo "$3" >"$2/.ready"
}

# run_wine SECONDS PROGRAM ARGUMENT...: off screen.
run_wine() {
  local seconds=$1
  shift
  WINEQT_QPA_PLATFORM=offscreen timeout "$seconds" wine "$@"
}
