# shellcheck shell=bash disable=SC2154
# A root folder with Wine 10 of Debian 13 (trixie), amd64 packages and the 32-bit PE DLLs, for bubblewrap.
# Unpacked without maintainer scripts: no root, no chroot. What ran here was measured with 10.0~repack-6.
# uses: lib/apt.sh

packages=(libwine wine64 fonts-wine base-files dash libc-bin coreutils
    libx11-6 libxext6 libxrender1 libxrandr2 libxcursor1 libxi6 libxinerama1 libxfixes3 libxcomposite1
    libgl1 libgl1-mesa-dri libglx-mesa0 mesa-vulkan-drivers libpulse0)
# SHA-256 of libwine's i386 package by version, for the days when the archive's i386 index cannot be used.
declare -A pinned=([10.0~repack-6]=fef4802a6553a17eaa40003333a86fc697440d1d21c5824f2dbd1c444f01527b)

uri=$(mirror)
private_apt "$work/apt" amd64 "deb [arch=amd64 signed-by=$keyring] $uri trixie main"
doing "Wine: fetching the package lists"
apt-get "${private[@]}" update || die "no network: the package lists cannot be fetched. Connect and run this again."
total=$(apt-get "${private[@]}" --print-uris install "${packages[@]}" |
    awk '/^\047/ {n++; s += $3} END {printf "%d packages, %d MB", n, s / 1e6}')
doing "Wine: downloading $total"
apt-get "${private[@]}" --download-only install "${packages[@]}"
version=$(apt-cache "${private[@]}" show --no-all-versions libwine | sed -n 's/^Version: //p')
pool=$(apt-cache "${private[@]}" show --no-all-versions libwine | sed -n 's/^Filename: //p')

doing "Wine: downloading the 32-bit half of $version, 104 MB"
amd64_options=("${private[@]}")
private_apt "$work/apt32" i386 "deb [arch=i386 signed-by=$keyring] $uri trixie main"
mkdir "$work/half"
if apt-get "${private[@]}" update && (cd "$work/half" && apt-get "${private[@]}" download "libwine:i386=$version"); then
    doing "Wine: the 32-bit half came through apt"
else
    [ -n "${pinned[$version]:-}" ] || die "the archive's i386 index cannot be used now and Wine $version has no pinned checksum. Try again in some hours."
    doing "Wine: the i386 index is out of step; taking the pool's file by its pinned checksum"
    /usr/lib/apt/apt-helper "${amd64_options[@]}" download-file "$uri/${pool/_amd64/_i386}" "$work/half/libwine.deb" \
        "SHA256:${pinned[$version]}"
fi

doing "Wine: unpacking"
# base-files first: it holds the /bin, /lib and /lib64 links that the others' files go through.
for deb in "$work"/apt/archives/base-files_*.deb "$work"/apt/archives/*.deb; do
    dpkg-deb --fsys-tarfile "$deb" | tar -x -C "$out" --keep-directory-symlink \
        --exclude=./usr/share/doc --exclude=./usr/share/man --exclude=./usr/share/locale
done
wine_dlls=usr/lib/x86_64-linux-gnu/wine
dpkg-deb --fsys-tarfile "$work"/half/*.deb | tar -x -C "$work" ./usr/lib/i386-linux-gnu/wine/i386-windows
cp -n "$work"/usr/lib/i386-linux-gnu/wine/i386-windows/* "$out/$wine_dlls/i386-windows/"
# Wine's zlib1.dll is the cross compiler's, marked as Wine's own in bytes 64 to 95 of its header (what the
# package's configuration would do).
for pair in x86_64:x86_64 i686:i386; do
    zlib=$out/usr/${pair%:*}-w64-mingw32/lib/zlib1.dll
    {
        head -c 64 "$zlib"
        printf 'Wine builtin DLL\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0'
        tail -c +97 "$zlib"
    } >"$out/$wine_dlls/${pair#*:}-windows/zlib1.dll"
done
# Two folders of fonts, nothing to configure (the distribution's file holds elements Wine's process refuses).
cat >"$out/etc/fonts/fonts.conf" <<'FONTS'
<?xml version="1.0"?>
<fontconfig><dir>/usr/share/fonts</dir><cachedir prefix="xdg">fontconfig</cachedir></fontconfig>
FONTS
# Where the host's files of these names are bound in.
(cd "$out/etc" && touch passwd group machine-id localtime)
printf '%s\n' "$version" >"$out/wine-version"
