#!/bin/sh
# Makes the transport streams of the decoder tests: make_streams.sh FFMPEG FOLDER
#
# Every picture has three columns (red, green, blue) and in its lower quarter a white bar, 32 pixels wide, whose left
# edge stands at 8 x the number of the source picture: colours, order and time can be read off a decoded picture.
# Interlaced streams come from twice as many source pictures, one for each field. Every sound is a 440 Hz tone, as loud in all
# of them; of the two languages in one stream it is the first.
set -eu
ffmpeg=$1
folder=$2

pictures() { # width height pictures/s seconds
    printf '%s' "color=c=0xC00000:s=$1x$2:r=$3:d=$4,format=gbrp," \
        "drawbox=x=iw/3:w=iw/3:h=ih:color=0x00C000:t=fill,drawbox=x=2*iw/3:w=iw/3:h=ih:color=0x0000C0:t=fill[columns];" \
        "color=c=white:s=32x$(($2 / 4)):r=$3:d=$4[bar];" \
        "[columns][bar]overlay=x='mod(n*8,W-w)':y=H*3/4:format=gbrp"
}
tone() { # rate channel-layout seconds
    printf '%s' "sine=f=440:r=$1:d=$3,volume=4,aformat=channel_layouts=$2"
}
stream() { # name pictures tone options...
    name=$1 source=$2 sound=$3
    shift 3
    "$ffmpeg" -v error -y -threads 2 -f lavfi -i "$source" -f lavfi -i "$sound" "$@" \
        -f mpegts "$folder/$name.part"
    mv "$folder/$name.part" "$folder/$name"
}

# NAME SOUND OPTION...: an elementary stream that FFmpeg did not make, with the pictures of another.
joined() {
    name=$1 sound=$2
    shift 2
    "$ffmpeg" -v error -y -i "$folder/mpeg2_288p.ts" -i "$sound" -map 0:v -map 1:a -c copy "$@" -f mpegts "$folder/$name.part"
    mv "$folder/$name.part" "$folder/$name"
    rm "$sound"
}

# Standard and high definition have different colour matrices, which a stream need not tell.
sd=out_color_matrix=bt601,format=yuv420p
hd=out_color_matrix=bt709,format=yuv420p
fields=tinterlace=interleave_top,scale=interl=1
stream mpeg2_576i.ts "$(pictures 720 576 50 3),$fields:$sd" "$(tone 48000 stereo 3)" \
    -c:v mpeg2video -b:v 6M -bf 2 -g 12 -flags +ilme+ildct -top 1 -aspect 16:9 -c:a mp2 -b:a 192k
# This one has the matrix that its size does not let expect, and says so.
stream mpeg2_288p.ts "$(pictures 352 288 25 2),scale=$hd" "$(tone 48000 mono 2)" \
    -c:v mpeg2video -b:v 1M -bf 0 -g 12 -aspect 4:3 -colorspace bt709 -color_primaries bt709 -color_trc bt709 \
    -c:a mp2 -b:a 96k
stream h264_1080i.ts "$(pictures 1920 1080 50 2),$fields:$hd" "$(tone 48000 5.1 2)" \
    -c:v libx264 -preset ultrafast -bf 2 -g 24 -flags +ilme+ildct -top 1 -c:a ac3 -b:a 384k
stream h264_720p.ts "$(pictures 1280 720 50 2),scale=$hd" "$(tone 44100 stereo 2)" \
    -c:v libx264 -preset superfast -bf 3 -g 50 -x264opts open-gop=1:b-pyramid=normal:colormatrix=bt709 \
    -c:a aac -b:a 128k -mpegts_flags latm
stream aac_adts.ts "$(pictures 352 288 25 2),scale=$sd" "$(tone 48000 stereo 2)" \
    -c:v mpeg2video -b:v 1M -c:a aac -b:a 128k
stream mpeg_audio_2.ts "$(pictures 352 288 25 2),scale=$sd" "$(tone 24000 stereo 2)" \
    -c:v mpeg2video -b:v 1M -c:a mp2 -b:a 96k
stream mpeg_layer_3.ts "$(pictures 352 288 25 2),scale=$sd" "$(tone 22050 stereo 2)" \
    -c:v mpeg2video -b:v 1M -c:a libmp3lame -b:a 96k
stream dual_mono.ts "$(pictures 352 288 25 2),scale=$sd" \
    "aevalsrc=exprs='sin(2*PI*440*t)/8^0.5|sin(2*PI*1000*t)/8^0.5':s=48000:d=2" \
    -c:v mpeg2video -b:v 1M -c:a libtwolame -mode dual_channel -b:a 192k
stream h264_refresh.ts "$(pictures 720 576 25 2),scale=$sd" "$(tone 48000 stereo 2)" \
    -c:v libx264 -preset superfast -tune zerolatency -x264opts intra-refresh=1:keyint=12 -c:a mp2
# A layer of P pictures that needs nothing of the B pictures, to which others refer.
stream h264_layers.ts "$(pictures 352 288 25 4),scale=$sd" "$(tone 48000 stereo 4)" -c:v libx264 -preset fast -bf 3 \
    -x264opts b-pyramid=strict:b-adapt=0:keyint=25:scenecut=0 -c:a mp2
# Hybrid log-gamma in 10 bits: its columns are other colours on a monitor of standard range.
stream hevc_hlg.ts "$(pictures 352 288 25 1),scale=out_color_matrix=bt2020,format=yuv420p10le" "$(tone 48000 stereo 1)" \
    -c:v libx265 -preset ultrafast -c:a mp2 \
    -x265-params log-level=none:colorprim=bt2020:transfer=arib-std-b67:colormatrix=bt2020nc
stream hevc_1080p.ts "$(pictures 1920 1080 25 2),scale=$hd" "$(tone 48000 stereo 2)" \
    -c:v libx265 -preset ultrafast -x265-params log-level=none:keyint=25:bframes=3 -c:a eac3 -b:a 128k

for rate in 32000 44100 48000; do
    "$ffmpeg" -v error -f lavfi -i "$(tone $rate stereo 2)" -f s16le - |
        mp2enc -v 0 -R $rate,2,16 -r $rate -l 1 -b 384 -o "$folder/layer1.mp1"
    joined mpeg_layer_1_$rate.ts "$folder/layer1.mp1"
done
# FFmpeg counts the second programme's frames as well.
"$ffmpeg" -v error -f lavfi -i "$(tone 48000 5.1 2)" -c:a eac3 -b:a 192k -f eac3 - |
    "$(dirname "$0")/eac3_substreams.py" >"$folder/substreams.eac3"
joined eac3_substreams.ts "$folder/substreams.eac3" -bsf:a "setts=ts=floor(N/2)*0.032/TB"
