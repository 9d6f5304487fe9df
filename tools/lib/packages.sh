# shellcheck shell=bash disable=SC2154
# The distribution's packages: which are missing, and their installation.

# The packages of the given groups of tools/packages.txt that are not installed.
missing_packages() {
    local wanted installed
    wanted=$(for group in base "$@"; do sed -n "s/^$group: //p" "$repo/tools/packages.txt"; done | tr ' ' '\n' | sort -u)
    # shellcheck disable=SC2016,SC2086 # dpkg's own placeholders; a list of names
    installed=$(dpkg-query -W -f '${db:Status-Abbrev} ${Package}\n' $wanted 2>/dev/null | sed -n 's/^ii *//p' | sort -u)
    comm -23 <(printf '%s\n' "$wanted") <(printf '%s\n' "$installed")
}

install_packages() {
    local as_root=() missing plan
    mapfile -t missing
    [ "$(id -u)" = 0 ] || as_root=(sudo)
    export DEBIAN_FRONTEND=noninteractive
    doing "packages: fetching the lists"
    # A foreign source that does not answer is no reason to stop: what counts is whether the packages come.
    "${as_root[@]}" apt-get -q update </dev/null || true
    plan=$(apt-get --print-uris -y --no-install-recommends install "${missing[@]}" </dev/null |
        awk '/^\047/ {n++; s += $3} END {printf "%d packages, %d MB", n, s / 1e6}') ||
        die "apt does not know all of: ${missing[*]}. Is there a network, and a Debian 12 main source in apt's configuration?"
    doing "packages: downloading $plan"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y --no-install-recommends --download-only \
        -o APT::Keep-Downloaded-Packages=true -o DPkg::Lock::Timeout=300 install "${missing[@]}" </dev/null ||
        die "the packages cannot be downloaded. Is there a network? Connect and run this again."
    doing "packages: installing"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y --no-install-recommends \
        -o DPkg::Lock::Timeout=300 install "${missing[@]}" </dev/null
}

# ensure_packages GROUP...
ensure_packages() {
    local missing
    command -v apt-get dpkg-query >/dev/null || die "this set-up knows Debian 12; apt-get is not here."
    missing=$(missing_packages "$@")
    [ -n "$missing" ] || return 0
    if [ "$(id -u)" != 0 ] && ! command -v sudo >/dev/null; then
        die "packages are missing and there is neither root nor sudo. As root, run: apt-get install --no-install-recommends $(tr '\n' ' ' <<<"$missing")"
    fi
    need_space / 2500
    step "Debian packages" install_packages <<<"$missing"
}
