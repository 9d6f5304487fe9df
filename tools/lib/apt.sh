# shellcheck shell=bash
# A private apt: own lists, own (empty) package state, the host's keyring. It needs no root, changes nothing of
# the host, and checks signatures and hashes as apt always does.

# private_apt FOLDER ARCHITECTURES LIST-LINE...: sets up FOLDER and the array `private` of options.
private_apt() {
    local folder=$1 architectures=$2 arch index
    shift 2
    mkdir -p "$folder"/lists/partial "$folder"/archives/partial
    : >"$folder/status"
    printf '%s\n' "$@" >"$folder/sources.list"
    private=(-o "Dir::State=$folder" -o "Dir::State::lists=$folder/lists" -o "Dir::State::status=$folder/status"
        -o "Dir::Cache=$folder" -o "Dir::Cache::archives=$folder/archives"
        -o "Dir::Etc::sourcelist=$folder/sources.list" -o Dir::Etc::sourceparts=/dev/null
        -o "APT::Sandbox::User=$(id -un)" -o Acquire::Languages=none -o Acquire::Retries=3 -o APT::Update::Error-Mode=any
        -o APT::Install-Recommends=false -o APT::Get::Assume-Yes=true -o Debug::NoLocking=1
        -o APT::Architecture=amd64 -o Binary::apt::APT::Keep-Downloaded-Packages=true -o APT::Keep-Downloaded-Packages=true)
    for arch in $architectures; do private+=(-o "APT::Architectures::=$arch"); done
    # Indexes that the host's other tools ask for (file contents, icons: 50 MB and more) are none of ours.
    for index in $(apt-config dump | sed -n 's/^Acquire::IndexTargets::\([^:]*::[^:]*\) "";$/\1/p'); do
        case $index in *::Packages | *::Sources) ;;
        *) private+=(-o "Acquire::IndexTargets::$index::DefaultEnabled=false") ;;
        esac
    done
}

keyring=/usr/share/keyrings/debian-archive-keyring.gpg

# source_package NAME: the distribution's current source of NAME, patched, in $work/src.
source_package() {
    local sources
    mapfile -t sources < <(apt_sources | sed "s|.*|deb-src [signed-by=$keyring] & main|")
    doing "$1: fetching the distribution's source"
    private_apt "$work/apt" amd64 "${sources[@]}"
    apt-get "${private[@]}" update || die "no network: the package lists cannot be fetched. Connect and run this again."
    (mkdir "$work/dsc" && cd "$work/dsc" && apt-get "${private[@]}" source --download-only "$1")
    dpkg-source --no-check -x "$work"/dsc/*.dsc "$work/src"
}
