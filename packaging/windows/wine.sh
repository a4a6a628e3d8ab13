# Sourced: runs Windows programs of this project under Wine. Needs common.sh before it.
# Wine hands no QT_ variable on; WINEQT_x arrives as QT_x, and WINETEMP and WINEPATH as TEMP and part of PATH.
export WINEPREFIX=${QM_WINE_PREFIX:-$work/wine} WINEARCH=win64 WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES='mscoree,mshtml=;winemenubuilder.exe='

# windows_path PATH: as a program under Wine names it.
windows_path() { printf 'Z:%s' "${1//\//\\}"; }

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
settle() { timeout 60 "$(command -v wineserver64 || echo /usr/lib/wine/wineserver64)" -w || true; }

# run_wine SECONDS PROGRAM ARGUMENT...: off screen, with the libraries beside Qt and in the prefix on the path.
run_wine() {
  local seconds=$1
  shift
  WINEPATH="$(windows_path "$qt/bin");$(windows_path "$prefix/bin")" WINEQT_QPA_PLATFORM=offscreen WINEQT_FORCE_STDERR_LOGGING=1 \
    WINEQT_QPA_FONTDIR='Z:\usr\share\fonts\truetype\dejavu' WINEQT_PLUGIN_PATH="$(windows_path "$qt/plugins")" timeout "$seconds" wine "$@"
}
