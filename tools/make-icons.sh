#!/bin/sh
# Draws the program's compiled-in icons and images into resources/ and writes resources/fmUI.qrc.
# Needs ImageMagick's `convert`; the generated files are committed, so a build never runs this.
# Usage: tools/make-icons.sh [repository root]
set -eu
ROOT=${1:-$(cd "$(dirname "$0")/.." && pwd)}
RES=$ROOT/resources
mkdir -p "$RES/Logos" "$RES/color_IDs" "$RES/JobTable" "$RES/menuAppIcons" "$RES/Buttons" "$RES/appicon"

# Small, reproducible files: no time stamps, no text chunks. $out names the file.
png() { convert "$@" -strip -define png:exclude-chunks=date,time,tEXt,zTXt "PNG32:$out"; }
bmp() { convert "$@" -strip -type TrueColor "BMP3:$out"; }

# Progress bars, 21 steps of 5 %: 60x14, a green fill over a light trough; group rows in blue.
for p in $(seq 0 5 100); do
    name=$(printf 'p%03d' "$p")
    fill=$((p * 57 / 100))
    for kind in plain group; do
        if [ $kind = plain ]; then out=$RES/JobTable/$name.bmp; edge='#c0c0c0'; bar='#5cb85c'
        else out=$RES/JobTable/${name}_group.bmp; edge='#a8a8c0'; bar='#4a7bd0'; fi
        if [ "$p" -gt 0 ]; then draw="rectangle 1,2 $((fill + 1)),11"; else draw="point 0,0"; fi
        bmp -size 60x14 xc:"$edge" -fill '#f8f8f8' -draw 'rectangle 1,1 58,12' -fill "$bar" -draw "$draw"
    done
done

# Warning triangles: outlined or filled, in colour and in grey.
triangle() { # $1 file, $2 edge colour, $3 inner colour, $4 mark colour
    out=$RES/JobTable/$1
    png -size 16x16 xc:none -fill "$3" -stroke "$2" -strokewidth 1.5 -draw 'polygon 8,1.5 15,14.5 1,14.5' \
        -stroke none -fill "$4" -draw 'rectangle 7,5 8.8,10' -draw 'rectangle 7,11.5 8.8,13'
}
for c in red:#d9261c orange:#f08c00 yellow:#e0c000; do
    n=${c%%:*}; col=${c#*:}
    triangle "icon_achtung_$n.png" "$col" white "$col"
    triangle "icon_achtung_${n}fill.png" "$col" "$col" black
    triangle "icon_achtunggray_$n.png" '#8c8c8c' white '#8c8c8c'
    triangle "icon_achtunggray_${n}fill.png" '#8c8c8c' '#b4b4b4' '#505050'
done

# Approval marks, plain and for group rows (on a light disc).
mark() { # $1 file stem, $2 stroke colour, $3 fill, $4 draw primitive
    out=$RES/JobTable/$1.png
    png -size 16x16 xc:none -fill "$3" -stroke "$2" -strokewidth 2.5 -draw "$4"
    out=$RES/JobTable/$1_group.png
    png -size 16x16 xc:none -fill '#dde6f4' -draw 'circle 8,8 8,1' -fill "$3" -stroke "$2" -strokewidth 2.5 \
        -draw "$4"
}
mark icon_job_approved '#2e9e3a' none 'polyline 3,8 7,12 13,4'
mark icon_job_unapproved '#cc2a2a' none 'path "M 4,4 L 12,12 M 12,4 L 4,12"'
mark icon_job_unknown none '#909090' 'circle 8,8 8,4'
out=$RES/JobTable/icon_job_unknown.bmp
bmp -size 16x16 xc:white -fill '#909090' -draw 'circle 8,8 8,4'

# Analysis results: a coloured disc with a white sign.
disc() { # $1 file, $2 colour, $3 sign
    out=$RES/JobTable/$1
    png -size 16x16 xc:none -fill "$2" -draw 'circle 8,8 8,1' -fill none -stroke white -strokewidth 2 -draw "$3"
}
disc analyse_ok.png '#2e9e3a' 'polyline 4,8 7,11 12,5'
disc analyse_info.png '#3a78c8' 'path "M 8,7 L 8,12 M 8,4 L 8,5"'
disc analyse_warning.png '#f08c00' 'path "M 8,4 L 8,9 M 8,11 L 8,12"'
disc analyse_error.png '#d9261c' 'path "M 5,5 L 11,11 M 11,5 L 5,11"'

# Job colours, by colour number: 16x16 swatches with a grey frame.
i=0
for c in '#EEEEEE' '#FFCCCC' '#BBFFAA' '#AACCFF' '#FFFFCC' '#EECCFF' '#CCFFFF' '#999999' '#FF0000' '#00FF00' \
    '#6666FF' '#000000'; do
    out=$RES/color_IDs/color_id$i.png
    png -size 16x16 xc:'#808080' -fill "$c" -draw 'rectangle 1,1 14,14'
    i=$((i + 1))
done

# Buttons.
button() { # $1 file, $2.. convert arguments after the canvas
    out=$RES/Buttons/$1; shift
    png -size 16x16 xc:none "$@"
}
button icon_job_disable.png -fill none -stroke '#b02020' -strokewidth 2 -draw 'circle 8,8 8,2' -draw 'line 4,12 12,4'
button icon_job_enable.png -fill '#2e9e3a' -draw 'polygon 4,2 14,8 4,14'
button icon_job_reset.png -fill none -stroke '#3a78c8' -strokewidth 2 -draw 'arc 2,2 14,14 40,320' \
    -stroke none -fill '#3a78c8' -draw 'polygon 11,1 15,6 10,7'
button icon_job_check.png -fill none -stroke '#2e9e3a' -strokewidth 2.5 -draw 'polyline 2,8 6,12 14,3'
button icon_job_delete.png -fill '#d0d0d0' -stroke '#606060' -draw 'rectangle 4,4 12,15' -draw 'line 2,3 14,3' \
    -draw 'rectangle 6,1 10,3' -draw 'line 7,6 7,13' -draw 'line 9,6 9,13'
button icon_job_abort.png -fill '#d9261c' -draw 'polygon 5,1 11,1 15,5 15,11 11,15 5,15 1,11 1,5' \
    -fill white -draw 'rectangle 4,7 12,9'
button button_down.png -fill '#505050' -draw 'polygon 3,5 13,5 8,11'
button icon_expand_plus.png -fill white -stroke '#707070' -draw 'rectangle 3,3 13,13' -draw 'line 5,8 11,8' \
    -draw 'line 8,5 8,11'
button icon_expand_minus.png -fill white -stroke '#707070' -draw 'rectangle 3,3 13,13' -draw 'line 5,8 11,8'
for c in red:#e02020 green:#20b020 blue:#2050e0 alpha:#a0a0a0 rgb:#ffffff; do
    n=${c%%:*}; col=${c#*:}
    for sel in '' _selected; do
        if [ -n "$sel" ]; then frame='#ffb000'; else frame='#606060'; fi
        out=$RES/Buttons/icon_channel_$n$sel.png
        if [ "$n" = rgb ]; then
            png -size 16x16 xc:none -fill white -stroke "$frame" -strokewidth 1.5 -draw 'rectangle 2,2 14,14' \
                -stroke none -fill '#e02020' -draw 'rectangle 4,4 6,12' -fill '#20b020' -draw 'rectangle 7,4 9,12' \
                -fill '#2050e0' -draw 'rectangle 10,4 12,12'
        else
            png -size 16x16 xc:none -fill "$col" -stroke "$frame" -strokewidth 1.5 -draw 'rectangle 2,2 14,14'
        fi
    done
done
for s in small:4 middle:7 big:11; do
    n=${s%%:*}; e=${s#*:}
    for sel in '' _selected; do
        if [ -n "$sel" ]; then frame='#ffb000'; else frame='#606060'; fi
        out=$RES/Buttons/icon_image_size_$n$sel.png
        png -size 16x16 xc:none -fill '#dde6f4' -stroke "$frame" -strokewidth 1.5 \
            -draw "rectangle $((8 - e / 2 - 1)),$((8 - e / 2 - 1)) $((8 + e / 2 + 1)),$((8 + e / 2 + 1))"
    done
done

# Menu icons of the family's programs: a coloured rounded tile with a letter-free sign.
tile() { # $1 file, $2 colour, $3 sign
    out=$RES/menuAppIcons/$1
    png -size 16x16 xc:none -fill "$2" -draw 'roundrectangle 1,1 14,14 3,3' -fill white -draw "$3"
}
tile fmWebsite.png '#3a78c8' 'circle 8,8 8,4'
tile fmConfig.png '#707070' 'rectangle 4,7 12,9'
tile fmControl.png '#2e9e3a' 'polygon 5,4 12,8 5,12'
tile fmServer0.png '#909090' 'rectangle 4,4 12,6'
tile fmServer3.png '#d9261c' 'rectangle 4,4 12,6'
tile fmSubmitter.png '#f08c00' 'polygon 8,3 13,9 3,9'

# Logos: a plain mark and the two ends of the splash band.
out=$RES/Logos/FM_Logo.png
png -size 64x64 xc:none -fill '#2f4f7f' -draw 'roundrectangle 2,2 61,61 10,10' -fill '#f0a020' \
    -draw 'rectangle 14,14 22,50' -draw 'rectangle 14,14 34,22' -draw 'rectangle 14,30 30,37' \
    -fill white -draw 'rectangle 38,30 44,50' -draw 'rectangle 46,30 52,50' -draw 'rectangle 38,30 52,35'
out=$RES/Logos/LogoLeft.png
png -size 120x40 gradient:'#2f4f7f'-'#5f7faf' -rotate 90
out=$RES/Logos/LogoRight.png
png -size 120x40 gradient:'#5f7faf'-'#2f4f7f' -rotate 90
out=$RES/Logos/PleaseWait.bmp
bmp -size 160x40 xc:'#f4f4f4' -fill '#2f4f7f' -draw 'rectangle 0,0 159,3' -draw 'rectangle 0,36 159,39' \
    -fill '#5f7faf' -draw 'circle 60,20 60,14' -draw 'circle 80,20 80,14' -draw 'circle 100,20 100,14'

# The desktop icon of an installed fmHistorydb (not compiled in): the logo's blue tile with three
# job rows, their orange progress bars, and a clock for the history. 256 pixels, scaled down.
out=$RES/appicon/fmhistorydb-256.png
png -size 256x256 xc:none -fill '#2f4f7f' -draw 'roundrectangle 8,8 247,247 40,40' \
    -fill '#dde6f4' -draw 'roundrectangle 36,52 220,84 8,8' -draw 'roundrectangle 36,104 220,136 8,8' \
    -draw 'roundrectangle 36,156 150,188 8,8' \
    -fill '#f0a020' -draw 'roundrectangle 36,52 196,84 8,8' -draw 'roundrectangle 36,104 128,136 8,8' \
    -draw 'roundrectangle 36,156 84,188 8,8' \
    -fill white -stroke '#2f4f7f' -strokewidth 8 -draw 'circle 184,184 184,136' \
    -stroke '#2f4f7f' -strokewidth 9 -draw 'line 184,184 184,154' -draw 'line 184,184 206,196'
for size in 128 48; do
    out=$RES/appicon/fmhistorydb-$size.png
    png "$RES/appicon/fmhistorydb-256.png" -resize ${size}x$size
done

# The resource file: one <qresource> per prefix, files in name order.
{
    echo '<!DOCTYPE RCC>'
    echo '<RCC version="1.0">'
    for prefix in Logos color_IDs JobTable menuAppIcons Buttons; do
        echo "    <qresource prefix=\"/$prefix\">"
        (cd "$RES/$prefix" && LC_ALL=C ls) | while read -r f; do
            echo "        <file alias=\"$f\">$prefix/$f</file>"
        done
        echo '    </qresource>'
    done
    echo '</RCC>'
} > "$RES/fmUI.qrc"
