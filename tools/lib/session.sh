# shellcheck shell=bash disable=SC2154
# What a session consists of; sourced by tools/wine-session, whose options are its input.

services=() # process ids, in order of start
program='' recorder=''
sessions=${VISTRAME_MACHINE:-$cache}/sessions # locks do not reach from one machine to another

# wait_for SECONDS TEST...: polls; false when the time is over. An emulated machine gets ten times as long.
wait_for() {
    local factor=1 deadline
    [ -z "${VISTRAME_MACHINE:-}" ] || factor=10
    deadline=$((SECONDS + $1 * factor))
    shift
    until "$@"; do
        [ "$SECONDS" -lt "$deadline" ] || return 1
        sleep 0.02
    done
}

# Ends what runs in $WINEPREFIX, and the server with it.
end_wine() {
    (
        wine_surroundings
        HOME=/tmp timeout 10 "${in_wine[@]}" "$wine_server" -k
    ) >/dev/null 2>&1 8>&- 9>&- || true # nothing ran
    # Wine names its socket's folder here.
    [ ! -s "$WINEPREFIX/wineserver" ] || rm -rf "/tmp/$(basename "$(cat "$WINEPREFIX/wineserver")")"
}

# Sessions come and go one at a time: while its lock is made or removed, one looks as if it had been killed.
# Until descriptor 9 is closed.
take_sessions() {
    exec 9>"$sessions/.lock"
    flock 9
}

# Sessions that were killed: their lock is free again.
sweep_sessions() {
    local folder
    for folder in "$sessions"/*/; do
        [ -e "$folder/lock" ] || continue
        if flock -n "$folder/lock" true; then
            WINEPREFIX=$folder/prefix end_wine
            rm -rf "/tmp/$(basename "$folder")" "$folder"
        fi
    done
}

open_session() {
    local template
    template=$(readlink -f "${VISTRAME_MACHINE:-$repo/build}/wine-prefix") && [ -d "$template" ] || die "Wine is not set up yet: run 'make setup'."
    mkdir -p "$sessions"
    take_sessions
    sweep_sessions
    # Two folders: sockets need a short path, the prefix is hard links into the cache's file system.
    VISTRAME_SESSION=$(mktemp -d /tmp/vistrame-session.XXXXXX)
    state=$sessions/$(basename "$VISTRAME_SESSION")
    mkdir "$state" "$VISTRAME_SESSION"/{home,run}
    chmod 700 "$VISTRAME_SESSION/run"
    exec 8>"$state/lock"
    flock 8
    exec 9>&-
    trap close_session EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM HUP
    export VISTRAME_SESSION WINEPREFIX=$state/prefix
    cp -al "$template" "$WINEPREFIX"
    # The registry is the session's own; the server replaces these files, but a copy is plainer than a proof.
    cp --remove-destination "$template"/*.reg "$WINEPREFIX/"
    # So is the folder of its server's socket, which is removed at its end: a name of its own.
    rm -f "$WINEPREFIX/wineserver"

    if [ -n "${VISTRAME_STREAM:-}" ] && [ -e "$wine_root/host" ]; then
        mkdir "$VISTRAME_SESSION/stream"
        ln -s "$VISTRAME_STREAM" "$(stream_in_wine)" # no root: the machine's own Wine sees it where it is
    fi

    [ -z "$private_display" ] || start_display
    start_sound
    start_wine_server
    [ -z "${VISTRAME_MACHINE:-}" ] || start_desktop
    [ -z "$record" ] || start_recording
}

start_display() {
    local number=$VISTRAME_SESSION/display
    : >"$number"
    setpriv --pdeathsig KILL Xvfb -displayfd 5 -screen 0 "${screen}x24" -noreset -nolisten tcp \
        5>"$number" >"$VISTRAME_SESSION/xvfb.log" 2>&1 8>&- &
    services+=($!)
    wait_for 20 test -s "$number" || die "Xvfb does not start; see $VISTRAME_SESSION/xvfb.log"
    DISPLAY=:$(cat "$number")
    export DISPLAY LIBGL_ALWAYS_SOFTWARE=1
    unset WAYLAND_DISPLAY XAUTHORITY
    export XDG_RUNTIME_DIR=$VISTRAME_SESSION/run
}

# A null sink of the session's own, before other programs where that is allowed, as a sound card would be; with the user's display the user's sound server, when it answers.
start_sound() {
    if [ -z "$private_display" ] && [ -z "$record" ] && pactl info >/dev/null 2>&1; then return; fi
    local socket=$VISTRAME_SESSION/run/pulse
    # A null sink counts its time in whole microseconds for each piece that it eats, rounded down: at 48 kHz it gains
    # 60 us a second and more on Wine, whose pieces come too late then now and again. At 50 kHz a frame is 20 us and
    # nothing is rounded. Programs see the second sink, of the usual rate, which keeps the first one's time; the
    # configuration keeps the first from changing over to that rate.
    printf '%s-sample-rate = 50000\n' default alternate >"$VISTRAME_SESSION/pulse.conf"
    HOME=$VISTRAME_SESSION/home PULSE_CONFIG=$VISTRAME_SESSION/pulse.conf PULSE_RUNTIME_PATH=$VISTRAME_SESSION/run/pulse.d \
        setpriv --pdeathsig KILL pulseaudio -n --daemonize=no --exit-idle-time=-1 --use-pid-file=no \
        --disable-shm=yes --realtime=no --high-priority=yes \
        --load="module-null-sink sink_name=clock rate=50000 channels=2" \
        --load="module-remap-sink sink_name=cap master=clock rate=48000 channels=2" \
        --load="module-native-protocol-unix socket=$socket auth-anonymous=1" \
        >"$VISTRAME_SESSION/pulse.log" 2>&1 8>&- &
    services+=($!)
    export PULSE_SERVER=unix:$socket
    wait_for 20 test -S "$socket" || die "PulseAudio does not start; see $VISTRAME_SESSION/pulse.log"
    pactl set-default-sink cap || die "PulseAudio has no sink; see $VISTRAME_SESSION/pulse.log"
}

# One server for the session's life: without it each program would start and end Wine anew. It returns when the
# server is ready. Should this session be killed, the server goes two minutes after its last program.
start_wine_server() {
    (
        wine_surroundings
        wine_environment
        export HOME=$VISTRAME_SESSION/home
        "${in_wine[@]}" "$wine_server" -p120
        # Wine's services come with the first program and hold on to its output: nobody else's but this one's.
        exec "${in_wine[@]}" "$wine_loader" cmd /c exit
    ) >"$VISTRAME_SESSION/wineserver.log" 2>&1 8>&- || die "Wine's server does not start; see $VISTRAME_SESSION/wineserver.log"
}

# The first window's program starts the desktop and waits ten seconds for it, which an emulated machine does not make.
start_desktop() {
    "$repo/tools/wine" explorer /desktop >"$VISTRAME_SESSION/desktop.log" 2>&1 8>&- &
    wait_for 20 desktop_there || die "Wine's desktop does not start; see $VISTRAME_SESSION/desktop.log"
}

desktop_there() { xwininfo -root -tree | grep -q 'Default IME'; }

start_recording() {
    mkdir -p "$(dirname "$record")"
    setpriv --pdeathsig TERM parec --device=cap.monitor --file-format=wav --format=s16le --rate=48000 --channels=2 \
        --latency-msec=20 "$record" 2>"$VISTRAME_SESSION/parec.log" 8>&- &
    recorder=$!
    wait_for 10 test -s "$record" || die "the sound cannot be recorded; see $VISTRAME_SESSION/parec.log"
}

close_session() {
    local pid
    trap '' INT TERM HUP
    # parec completes the file's header when it is told to end.
    for pid in "$program" "$recorder"; do end_process "$pid"; done
    end_wine
    for pid in "${services[@]}"; do end_process "$pid"; done
    take_sessions
    if [ -n "$keep" ]; then
        rm -f "$state/lock" # what has no lock is not swept away
        echo "session kept: $VISTRAME_SESSION, prefix $WINEPREFIX" >&2
    else
        rm -rf "$state" "$VISTRAME_SESSION"
    fi
}

# A process of ours, by its id (or none): asked to end, made to after five seconds.
end_process() {
    [ -n "$1" ] && kill "$1" 2>/dev/null || return 0
    wait_for 5 process_ended "$1" || kill -KILL "$1"
    wait "$1" 2>/dev/null || true
}

process_ended() {
    [[ ! -e /proc/$1/stat || $(sed 's/.*) //' "/proc/$1/stat" 2>/dev/null) == Z* ]]
}
