# shellcheck shell=bash
# Shared helpers of the art scripts; sourced by make_assets.sh (needs $IM, $TOOLS, $WORK).
# Every random texture takes a fixed -seed so that a rerun gives the same pixels.

FONT_TITLE=/usr/share/fonts/opentype/urw-base35/P052-Bold.otf
FONT_SANS_BOLD=/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf

# Writes a PNG without time stamps or other metadata, so reruns are byte-identical.
save_png() { # in out
  "$IM" "$1" -strip -define png:exclude-chunks=date,time,tIME "PNG32:$2"
}

# The same for pictures that cover their whole area: no alpha channel, smaller files.
save_png_opaque() { # in out
  "$IM" "$1" -alpha off -strip -define png:exclude-chunks=date,time,tIME "PNG24:$2"
}

# Cuts a rendered RGBA picture to a GIF with one-bit transparency: edge pixels are first
# blended onto the colour the picture will lie on, then alpha is thresholded at half.
# A large opaque painting shown first thing (the splash): JPEG decodes four times faster
# than PNG at that size, and at this quality the two cannot be told apart (PSNR 41 dB).
save_jpeg_opaque() { # in out
  "$IM" "$1" -alpha off -strip -sampling-factor 1x1 -quality 92 "JPEG:$2"
}

save_gif() { # in matte-colour out
  "$IM" "$1" \( +clone -alpha extract -threshold 50% \) \
    \( -clone 0 -background "$2" -alpha remove \) \
    -delete 0 +swap -alpha off -compose copy_opacity -composite \
    -strip "GIF:$3"
}

# A stone picture from stones.py, rendered at 4x and reduced with a box filter.
stone() { # preset size out
  python3 "$TOOLS/stones.py" "$1" "$2" "$WORK/stone_big.png" --ss 4
  "$IM" "$WORK/stone_big.png" -filter box -resize "${2}x${2}" "$3"
}

# Wood with a figured grain: low-frequency contours folded into rings, plus fine fibres.
# dark and light are the ends of the colour ramp; bands sets how many rings show.
wood() { # width height seed dark light out [bands] [fibre%]
  local w=$1 h=$2 seed=$3 dark=$4 light=$5 out=$6 bands=${7:-5} fibre=${8:-55}
  "$IM" -size "5x$(( h / 20 + 4 ))" xc: -seed "$seed" +noise Random -colorspace gray \
    -filter gaussian -resize "${w}x${h}!" -auto-level -virtual-pixel mirror \
    -wave "$(( h / 96 + 2 ))x$(( w * 6 / 10 ))" -crop "${w}x${h}+0+0" +repage "$WORK/wood_g1.png"
  "$IM" "$WORK/wood_g1.png" -function Sinusoid "$bands,0,0.5,0.5" -blur 0x0.6 "$WORK/wood_rings.png"
  "$IM" -size "${w}x${h}" xc: -seed "$(( seed + 1 ))" +noise Random -colorspace gray \
    -blur 0x0.7 -motion-blur 0x14+0 -auto-level "$WORK/wood_fibre.png"
  "$IM" "$WORK/wood_g1.png" -level 0,160% "$WORK/wood_rings.png" -compose multiply -composite \
    "$WORK/wood_fibre.png" -compose blend -define compose:args="$fibre" -composite -auto-level \
    \( -size 1x256 gradient:"$dark-$light" \) -clut "$out"
}

# Felt: a flat colour with fine soft fibres.
felt() { # width height seed colour out
  "$IM" -size "${1}x${2}" xc:gray50 -seed "$3" -attenuate 0.9 +noise Gaussian -colorspace gray \
    -blur 0x0.6 "$WORK/felt_noise.png"
  "$IM" -size "${1}x${2}" xc:"$4" "$WORK/felt_noise.png" -compose softlight -composite "$5"
}

# A soft light pool: multiplies the picture by a radial falloff centred at (cx, cy).
light_pool() { # in cx cy radius low-percent out
  local w h
  w=$("$IM" "$1" -format %w info:); h=$("$IM" "$1" -format %h info:)
  local d=$(( $4 * 2 ))
  "$IM" -size "${d}x${d}" radial-gradient:white-black -level "0,100%,0.8" \
    +level "$5%,100%" -background black -extent "$(( w + d ))x$(( h + d ))" \
    -crop "${w}x${h}+$(( $4 - $2 ))+$(( $4 - $3 ))" +repage "$WORK/pool.png"
  "$IM" "$1" "$WORK/pool.png" -compose multiply -composite "$6"
}

# Soft drop shadow under an RGBA layer, composited onto a background.
drop_on() { # background layer x y shadow-opacity blur dx dy out
  "$IM" "$1" \( "$2" -background black -shadow "${5}x${6}+${7}+${8}" +repage \) \
    -geometry "+$(( $3 + $7 - $6 * 2 ))+$(( $4 + $8 - $6 * 2 ))" -compose over -composite \
    "$2" -geometry "+$3+$4" -compose over -composite "$9"
}
