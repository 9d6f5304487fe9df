# shellcheck shell=bash
# How this repository runs Wine: the machine's own when it is 9 or newer and runs 32-bit programs, otherwise the
# set-up's root folder through bubblewrap. build/wine-root tells which: a root, or a folder with the file `host`.

wine_root=$repo/build/wine-root

# Whether the processor runs 32-bit code for us: some virtual machines have none. Asked with the smallest program there
# is, which ends with 7.
runs_32_bit() {
    local program code=0
    program=$(mktemp "$cache/.32-bit.XXXXXX")
    {
        printf '\x7fELF\1\1\1\0\0\0\0\0\0\0\0\0'                                # 32-bit, little-endian
        printf '\2\0\3\0\1\0\0\0\x54\x80\x04\x08\x34\0\0\0\0\0\0\0\0\0\0\0\x34\0\x20\0\1\0\0\0\0\0\0\0' # i386, entry
        printf '\1\0\0\0\0\0\0\0\0\x80\x04\x08\0\x80\x04\x08\x60\0\0\0\x60\0\0\0\5\0\0\0\0\x10\0\0' # one segment
        printf '\x31\xc0\x40\xb3\x07\xcd\x80\x90\x90\x90\x90\x90'                # exit(7)
    } >"$program"
    chmod +x "$program"
    "$program" 2>/dev/null || code=$?
    rm -f "$program"
    [ "$code" = 7 ]
}

# The build that is run here: the product's own, or the same sources for 64 bits where nothing else runs.
tried_preset() {
    if [ -z "${VISTRAME_TRIED:-}" ]; then
        if runs_32_bit; then VISTRAME_TRIED=mingw32; else VISTRAME_TRIED=mingw64; fi
        export VISTRAME_TRIED
    fi
    printf '%s\n' "$VISTRAME_TRIED"
}

# The version of the machine's own Wine when it is new enough, otherwise nothing.
host_wine_version() {
    local version
    version=$(wine --version 2>/dev/null) || return 0
    [[ $version =~ ^wine-([0-9]+) ]] && [ "${BASH_REMATCH[1]}" -ge 9 ] && printf '%s\n' "$version"
    return 0
}

# The stream that is to be played (VISTRAME_STREAM, which may be any readable file) as Windows programs of a session see
# it: in the session's folder, under its own name as far as Windows allows that.
stream_in_wine() {
    local LC_ALL=C.UTF-8 name
    name=$(basename -- "$VISTRAME_STREAM" | iconv -cs -f UTF-8 -t UTF-8 || true) # -c tells by its code what it left out
    name=${name//[^[:alnum:] \'!#$%&()+,.=@_~-]/_}
    [ ${#name} -le 100 ] || name=${name: -100}
    # Windows takes a blank or dot at the end away, and some names for devices.
    case ${name,,} in
    *[\ .] | con | con.* | prn | prn.* | aux | aux.* | nul | nul.* | com? | com?.* | lpt? | lpt?.*) name=_${name}_ ;;
    esac
    printf '%s\n' "$VISTRAME_SESSION/stream/$name"
}

# Fills the array `in_wine` with the command prefix that puts a program into Wine's surroundings.
wine_surroundings() {
    in_wine=()
    wine_loader=wine wine_server=wineserver
    [ ! -e "$wine_root/host" ] || return 0
    local root link part
    root=$(readlink -f "$wine_root")
    [ -d "$root/usr" ] || die "Wine is not set up yet: run 'make setup'."
    # The loader itself, not its script: one process less to wait for, and it becomes the Windows process.
    wine_loader=/usr/lib/wine/wine64 wine_server=/usr/lib/wine/wineserver64
    in_wine=(bwrap --die-with-parent --dev-bind /dev /dev --proc /proc --ro-bind /sys /sys)
    for link in bin sbin lib lib64; do in_wine+=(--symlink "usr/$link" "/$link"); done
    in_wine+=(--ro-bind "$root/usr" /usr --ro-bind "$root/etc" /etc --ro-bind "$root/var" /var)
    for part in /etc/passwd /etc/group /etc/machine-id /etc/localtime; do
        [ -e "$part" ] && in_wine+=(--ro-bind "$(readlink -f "$part")" "$part")
    done
    # What the programs read and write: temporary files and sockets, this checkout, the cache, where we are.
    in_wine+=(--bind /tmp /tmp --bind "$repo" "$repo" --bind "$cache" "$cache")
    for part in "${XDG_RUNTIME_DIR:-}" "${XAUTHORITY:-}" "${TMPDIR:-}" "$PWD"; do
        case $part in /tmp | /tmp/* | "$repo" | "$repo"/* | "$cache"/* | / | '') ;;
        *) [ ! -e "$part" ] || in_wine+=(--bind "$part" "$part") ;;
        esac
    done
    # The server, which opens the files for all, is the session's first: before it this must be known. Not at its own
    # place: the root's folders are not to be written into, and not every name is one for Windows.
    [ -z "${VISTRAME_SESSION:-}" ] || [ -z "${VISTRAME_STREAM:-}" ] ||
        in_wine+=(--ro-bind-try "$VISTRAME_STREAM" "$(stream_in_wine)")
    in_wine+=(--chdir "$PWD" --)
}

# What every Wine process of ours gets besides. Sets nothing that a caller has set on purpose.
wine_environment() {
    export WINEDEBUG=${WINEDEBUG:--all}
    # No .NET or HTML engine is installed, nor wanted; no desktop menus either.
    export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml,winemenubuilder.exe=}
    # What lies ready at the sound server, in milliseconds. Wine asks for 20 and lets it run down to nothing: each time
    # that its thread comes a little late then, all that follows is heard so much later, and Wine counts on as before.
    export PULSE_LATENCY_MSEC=${PULSE_LATENCY_MSEC:-60}
    # Names of files are UTF-8, whatever else is spoken here; the root knows no other locale either.
    [ -e "$wine_root/host" ] && [ "$(locale charmap 2>/dev/null)" = UTF-8 ] || export LC_ALL=C.UTF-8
}

# Which Direct3D a program gets: Vulkan, and every call carried out where it is made.
# A thread of its own for drawing (Wine's default) still has up to two pictures to show when the graph is stopped; the
# renderer then destroys its window under them, and the process ends. OpenGL without that thread leaks a context for each
# streaming thread. Through Vulkan a graph is also made in half the time. (DirectDraw is blank there; nothing of ours uses
# it.)
direct3d() {
    [ ! -e "$wine_root/host" ] || return 0
    export WINE_D3D_CONFIG=${WINE_D3D_CONFIG:-renderer=vulkan,csmt=0}
    [ -n "${LIBGL_ALWAYS_SOFTWARE:-}" ] || return 0
    # A display of ours: nothing but the processor draws, and nothing refreshes.
    export VK_ICD_FILENAMES=/usr/share/vulkan/icd.d/lvp_icd.json
    export MESA_VK_WSI_PRESENT_MODE=${MESA_VK_WSI_PRESENT_MODE:-immediate}
}
