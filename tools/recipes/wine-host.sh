# shellcheck shell=bash disable=SC2154
# Whether this machine's own Wine (9 or newer) runs the programs tried here; found out once per version of it.
export WINEPREFIX=$work/prefix HOME=$work WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe="
unset DISPLAY
doing "Wine: trying this machine's own"
code=0
folder=syswow64
[ "$(tried_preset)" = mingw32 ] || folder=system32
timeout 120 wine "C:\\windows\\$folder\\cmd.exe" /c "exit 8" || code=$?
wineserver -k || true
if [ "$code" = 8 ]; then touch "$out/host"; else touch "$out/unfit"; fi
