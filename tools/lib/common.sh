# shellcheck shell=bash
# Shared by the set-up's scripts: where things are, how progress and failures are told.
#
# fd 3 is where people read (the terminal or CI's log); a step's own chatter goes to its log file.

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
cache=${XDG_CACHE_HOME:-$HOME/.cache}/vistrame
logs=$repo/build/logs
mkdir -p "$cache" "$logs"
{ true >&3; } 2>/dev/null || exec 3>&1

# One line on what is going on now, inside a step.
doing() { printf '     %s\n' "$*" >&3; }

# The product's version, from the one place that has it.
product_version() { sed -n 's/^project(vistrame VERSION \([0-9.]*\).*/\1/p' "$repo/CMakeLists.txt"; }

# Ends the set-up with one line that says what to do.
die() {
    printf 'vistrame set-up: %s\n' "$*" >&2
    exit 1
}

# heartbeat LOG TITLE: every ten seconds the last thing a long step said.
heartbeat() {
    local seconds=0 last title=$2
    while sleep 10 && kill -0 $$ 2>/dev/null; do
        seconds=$((seconds + 10))
        last=$(tail -c 400 "$1" | tr '\r' '\n' | sed '/^ *$/d' | tail -n 1 | cut -c1-90)
        doing "$title ($seconds s): $last"
    done
}

# step TITLE COMMAND...: runs the command with its output in a log, tells the time it took.
step() {
    local title=$1 log started=$SECONDS status=0 watcher
    shift
    log=$logs/$(tr -cs 'a-zA-Z0-9\n' '-' <<<"$title").log
    printf '  -> %s\n' "$title" >&3
    : >"$log"
    heartbeat "$log" "$title" &
    watcher=$!
    ("$@") >"$log" 2>&1 || status=$?
    kill "$watcher" && wait "$watcher" 2>/dev/null || true
    if [ "$status" -ne 0 ]; then
        # Of steps side by side that fail for one reason, the first tells it.
        [ -z "${told_once:-}" ] || mkdir "$told_once" 2>/dev/null || exit 1
        # A one-line reason from die() is told as it is; anything else with the log's end.
        if ! grep '^vistrame set-up: ' "$log" >&2; then
            tail -n "${failure_lines:-25}" "$log" | sed 's/^/     | /' >&2
            printf 'vistrame set-up: "%s" failed; its whole output is in %s\n' "$title" "$log" >&2
        fi
        exit 1
    fi
    printf '     %s: %d s\n' "$title" $((SECONDS - started)) >&3
}

# need_space FOLDER MEGABYTES
need_space() {
    local free
    free=$(df -Pm "$1" | awk 'NR == 2 {print $4}')
    [ "$free" -ge "$2" ] || die "too little disk: $2 MB are needed in $1, $free MB are free. Free some, or set XDG_CACHE_HOME to a folder on a larger disk."
}

# "URI SUITE" of every Debian 12 source this machine's apt knows (main, updates, security), also before its first
# update.
apt_sources() {
    apt-get --print-uris update |
        sed -n "s#^'\(.*\)/dists/\(bookworm[^/]*\|oldstable[^/]*\)/InRelease'.*#\1 \2#p" | sort -u
}

# The mirror behind the plain suite, for other suites of the same archive.
mirror() {
    local uri
    uri=$(apt_sources | awk '$2 !~ /-/ {print $1; exit}')
    [ -n "$uri" ] || die "apt has no Debian 12 (bookworm) source. Add one to /etc/apt/sources.list and run this again."
    printf '%s\n' "$uri"
}
