# shellcheck shell=bash disable=SC2154
# What tools/emulated runs on: QEMU and its file server of Debian 13 (its emulation is faster than Debian 12's), and a
# kernel with everything for this built in, so there is no initial file system to make. Unpacked, nothing installed.
# uses: lib/apt.sh

private_apt "$work/apt" amd64 "deb [arch=amd64 signed-by=$keyring] $(mirror) trixie main"
doing "Emulated machine: fetching the package lists"
apt-get "${private[@]}" update || die "no network: the package lists cannot be fetched. Connect and run this again."
doing "Emulated machine: downloading 75 MB"
apt-get "${private[@]}" --download-only install qemu-system-x86 virtiofsd
kernel=$(apt-cache "${private[@]}" show --no-all-versions linux-image-cloud-amd64 | sed -n 's/^Depends: \([^ ]*\).*/\1/p')
# By itself: what it depends on is for machines that start from a disk.
(cd "$work/apt/archives" && apt-get "${private[@]}" download "$kernel")
doing "Emulated machine: unpacking"
for deb in "$work"/apt/archives/*.deb; do
    dpkg-deb --fsys-tarfile "$deb" | tar -x -C "$out" --keep-directory-symlink \
        --exclude=./usr/share/doc --exclude=./usr/share/man --exclude=./usr/share/locale --exclude=./usr/lib/modules
done
(cd "$out/boot" && ln -s vmlinuz-* vmlinuz)
