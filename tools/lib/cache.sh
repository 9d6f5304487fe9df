# shellcheck shell=bash
# The cache: one folder per built thing, named NAME-HASH by the hash of its recipe.
#
# A recipe (tools/recipes/NAME.sh) runs in a shell of its own and fills $out; $work is its scratch
# folder. The result is renamed into place when it is whole, so an interrupted run leaves nothing to trust.
# One recipe NAME-mingw serves NAME-mingw32 and NAME-mingw64; $preset and $cpu tell it which.

source "$repo/tools/lib/wine.sh"
recipes=$repo/tools/recipes

recipe_file() { printf '%s/%s.sh\n' "$recipes" "${1/%mingw[36][24]/mingw}"; }

# The recipe, the files it names on a line "# uses: ..." and what it is built from decide the name.
recipe_hash() {
    local file uses
    file=$(recipe_file "$1")
    uses=$(sed -n 's/^# uses: //p' "$file")
    # shellcheck disable=SC2086 # a list of names
    {
        (cd "$repo/tools" && cat "$file" $uses)
        [[ $1 != wine-* ]] || host_wine_version
        case $1 in wine-host | wine-prefix) tried_preset ;; esac
    } | sha256sum | cut -c1-12
}

cache_path() { printf '%s/%s-%s\n' "$cache" "$1" "$(recipe_hash "$1")"; }

have() { [ -d "$(cache_path "$1")" ]; }

# build_entry NAME: runs the recipe unless the entry is there; two set-ups at once take turns.
build_entry() {
    local name=$1 path
    path=$(cache_path "$name")
    exec 9>"$cache/.$name.lock"
    flock 9
    if [ ! -d "$path" ]; then
        rm -rf "$path".part.*
        local part
        part=$(mktemp -d "$path.part.$$.XXXXXX")
        mkdir "$part/out" "$part/work"
        # A process of its own: bash ignores "set -e" in functions whose result somebody looks at.
        repo=$repo out=$part/out work=$part/work bash -c '
            set -euo pipefail
            source "$repo/tools/lib/common.sh"
            source "$repo/tools/lib/cache.sh"
            source "$repo/tools/lib/apt.sh"
            cd "$work"
            preset=${1##*-} cpu=i686
            [ "$preset" != mingw64 ] || cpu=x86_64
            source "$(recipe_file "$1")"' recipe "$name" 9>&- || return
        mv "$part/out" "$path"
        rm -rf "$part"
    fi
    flock -u 9
    exec 9>&-
    touch "$path"
}

# ensure NAME TITLE: the same as a told step; silent when there is nothing to do.
ensure() {
    if have "$1"; then
        touch "$(cache_path "$1")"
    else
        step "$2" build_entry "$1"
    fi
}

# Entries of earlier recipes go when no checkout has used them for a month.
sweep_cache() {
    find "$cache" -mindepth 1 -maxdepth 1 -type d -mtime +30 -exec rm -rf {} +
}
