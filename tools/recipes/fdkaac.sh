# shellcheck shell=bash disable=SC2154
# An encoder of HE-AAC, for the streams of make foreign. The distribution has it in its parts contrib and
# non-free, which a machine's apt need not know. Unpacked, nothing installed.
# uses: lib/apt.sh

private_apt "$work/apt" amd64 "deb [arch=amd64 signed-by=$keyring] $(mirror) bookworm contrib non-free"
doing "Encoder of HE-AAC: fetching the package lists"
apt-get "${private[@]}" update || die "the package lists of bookworm's contrib and non-free cannot be fetched. Is there a network, and does apt's mirror have them?"
doing "Encoder of HE-AAC: downloading 1 MB"
mkdir "$work/debs"
(cd "$work/debs" && apt-get "${private[@]}" download fdkaac libfdk-aac2)
for deb in "$work"/debs/*.deb; do
    dpkg-deb -x "$deb" "$out"
done
