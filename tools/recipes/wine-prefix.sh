# shellcheck shell=bash disable=SC2154
# A fresh Wine prefix: the template every session gets a copy of.
# uses: recipes/wine-root.sh lib/wine.sh
wine_surroundings
export WINEPREFIX=$out HOME=$work XDG_RUNTIME_DIR=$work
unset DISPLAY
wine_environment
run() { "${in_wine[@]}" "$wine_loader" "$@"; }
doing "Wine: making a prefix"
trap '"${in_wine[@]}" "$wine_server" -k || true' EXIT
"${in_wine[@]}" "$wine_server" -p30
run wineboot -i
run cmd /c "exit 7" && code=0 || code=$?
[ "$code" = 7 ] || die "Wine does not run here (cmd /c 'exit 7' ended with $code)"
if [ "$(tried_preset)" = mingw32 ]; then
    run 'C:\windows\syswow64\cmd.exe' /c "exit 8" && code=0 || code=$?
    [ "$code" = 8 ] || die "Wine does not run 32-bit programs here (syswow64 cmd /c 'exit 8' ended with $code)"
fi
# A crashed program prints its backtrace and ends; nobody is there to close a dialog.
run reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f
run reg add 'HKCU\Software\Wine\Drivers' /v Audio /d pulse /f
"${in_wine[@]}" "$wine_server" -k || true
trap - EXIT
rm -f "$out/wineserver"

# The prefix holds copies of Wine's own programs: links into the root folder save over a gigabyte.
if [ ! -e "$wine_root/host" ]; then
    root=$(readlink -f "$wine_root")/usr/lib/x86_64-linux-gnu/wine
    for pair in system32:x86_64 syswow64:i386; do
        for file in "$out/drive_c/windows/${pair%:*}"/*; do
            original=$root/${pair#*:}-windows/${file##*/}
            if [ -f "$original" ] && cmp -s "$original" "$file"; then ln -f "$original" "$file"; fi
        done
    done
fi
