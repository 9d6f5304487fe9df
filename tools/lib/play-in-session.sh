#!/usr/bin/env bash
# The part of tools/play that runs inside a session.
#
# usage: play-in-session.sh shown|watched STREAM SCRIPT
#   SCRIPT empty: the stream's first programme that has pictures or sound
set -euo pipefail
source "$(dirname "$0")/common.sh"
how=$1 stream=$2 script=$3
out=$repo/build/play
source "$repo/tools/lib/wine.sh"
products=$repo/build/$(tried_preset)
analyzer=$products/analyzer/vistrame-analyzer.exe

"$repo/tools/register" "$products/filters/vistrame.ax" >"$logs/regsvr32.log" 2>&1 ||
    die "vistrame.ax cannot be registered (regsvr32 ended with $?)"

options=(--set UseVMR9=0 --player "$products/player/vistrame.exe" --log "$out/events.log" --report "$out/report.txt")
seen=$stream # as Windows programs see it
[ -z "${VISTRAME_STREAM:-}" ] || seen=$(stream_in_wine)
if [ -z "$script" ]; then
    "$repo/tools/wine" "$analyzer" --list-fields "$seen" >"$VISTRAME_SESSION/programmes"
    read -r first video < <(awk -F '\t' '$2 $3 != "--" {print $1, $2; exit}' "$VISTRAME_SESSION/programmes") ||
        die "$stream: no programme in it has pictures or sound that can be played."
fi
if [ "$how" = shown ]; then
    if [ -n "$script" ]; then options+=(--script "$script" --stay-open); else options+=(--play "$first"); fi
    exec "$repo/tools/wine" "$analyzer" "${options[@]}" "$seen"
fi

if [ -z "$script" ]; then
    script=$VISTRAME_SESSION/file.script
    seconds=${VISTRAME_PLAY_SECONDS:-10}
    wait_picture='+0 wait picture 15'
    [ "$video" != - ] || wait_picture='' # radio
    # After a first picture that was late there is still a second to look at it, and one to take it.
    printf '%s\n' "0 play $first" "$wait_picture" "$((seconds - 1))+1 mark programme-$first" "$seconds+1 quit" >"$script"
fi

# The analyzer's window alone, as the display shows it (the player's window is a child of it).
picture() {
    local window
    window=$(xwininfo -root -tree | sed -n 's/^ *\(0x[0-9a-f]*\) ".* - Vistrame analyzer": .*/\1/p' | head -n 1)
    # Of a window that goes meanwhile it would wait for an answer without end.
    timeout 10 import -silent -window "${window:-root}" "PNG24:$1" || doing "no picture could be taken for $1"
}

started=$SECONDS
printf '  -> %s\n' "Playing $stream" >&3
: >"$out/events.log"
"$repo/tools/wine" "$analyzer" "${options[@]}" --script "$script" "$seen" 2> >(grep -v '^ALSA lib' >&2) &
analyzer_pid=$!
# What happens is told as it happens; at each mark a picture is taken.
tail -n +1 -f --pid="$analyzer_pid" -s 0.1 "$out/events.log" | while read -r seconds word rest; do
    rest=${rest%$'\r'}
    case $word in
    picture) doing "$seconds s: first picture of $rest ($(awk -v a="$VISTRAME_PLAY_ASKED" -v b="$(date +%s.%N)" 'BEGIN {printf "%.1f", b - a}') s after the command)" ;;
    mark) picture "$out/$rest.png" ;;
    esac
done &
watcher=$!
wait "$analyzer_pid" && code=0 || code=$?
wait "$watcher" || true
while read -r name; do
    [ "$code" != 0 ] || [ -s "$out/$name.png" ] || code=1
done < <(sed -n 's/^[^#]* mark \([^ ]*\).*/\1/p' "$script")
printf '     Playing: %d s, exit code %d\n' $((SECONDS - started)) "$code" >&3
exit "$code"
