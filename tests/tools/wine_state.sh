# shellcheck shell=bash
# What a program's installer may leave behind in a session's Windows.

: "${repo:?}"

# Files and keys, but for what the system itself makes at the first sound, picture or file dialog.
wine_state() {
    (cd "$WINEPREFIX/drive_c" && find . ! -path './users/*/Temp/*' ! -path './windows/*' | sort)
    local key file=$VISTRAME_SESSION/keys.reg
    for key in 'HKLM\Software\Classes' 'HKCU\Software'; do
        "$repo/tools/wine" reg export "$key" "$file" /y >/dev/null 2>&1
        iconv -f UTF-16 -t UTF-8 "$file" | tr -d '\r' |
            awk '/^\[/ {skip = /Software.Wine|Microsoft.ActiveMovie|Explorer.ComDlg32/} !skip'
    done
}
