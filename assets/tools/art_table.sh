# shellcheck shell=bash
# The match table: a walnut table with a teal felt mat, the wooden board slab with its
# carved lattice and sockets, the side panels; Match.png is it (the board draws its own part of it).
# Sourced by make_assets.sh.

# Point centres of the board, in picture pixels (top-left corners 152/216/280, 88/152/216).
BOARD_XS=(184 248 312)
BOARD_YS=(120 184 248)
SOCKET_R=19

# Rounded-rectangle mask on a canvas: white inside.
rect_mask() { # width height x0 y0 x1 y1 radius out
  "$IM" -size "${1}x${2}" xc:black -fill white -draw "roundrectangle $3,$4 $5,$6 $7,$7" "$8"
}

# Darkens the inside edges of a mask's shape on a picture, as if the shape were sunk in.
recess() { # picture mask depth-percent out
  "$IM" "$2" \( +clone -virtual-pixel black -distort SRT "0,0 1 0 2,3" -blur 0x3 -negate \) -compose multiply -composite \
    -evaluate multiply "0.0$3" "$WORK/recess_a.png"
  "$IM" "$1" \( -clone 0 -fill black -colorize 100 "$WORK/recess_a.png" \
    -alpha off -compose copy_opacity -composite \) -compose over -composite "$4"
}

# Lights a height map (white = high) from the top left: 50% grey where flat, for hardlight.
emboss_map() { # heightmap blur out
  "$IM" "$1" -blur "0x$2" -shade 135x45 -evaluate multiply 0.7071 "$3"
}

board_lattice_draw() {
  local a=${BOARD_XS[0]} b=${BOARD_XS[2]} t=${BOARD_YS[0]} u=${BOARD_YS[2]} i
  local cmd="line $a,$t $b,$u line $b,$t $a,$u"
  for i in 0 1 2; do
    cmd+=" line $a,${BOARD_YS[$i]} $b,${BOARD_YS[$i]} line ${BOARD_XS[$i]},$t ${BOARD_XS[$i]},$u"
  done
  echo "$cmd"
}

board_sockets_draw() {
  local cmd="" x y
  for x in "${BOARD_XS[@]}"; do
    for y in "${BOARD_YS[@]}"; do
      cmd+=" circle $x,$y $(( x + SOCKET_R )),$y"
    done
  done
  echo "$cmd"
}

make_table() { # out (640x480)
  local W=640 H=480 w=$WORK
  # Walnut table top with a pool of warm light over the board.
  wood $W $H 21 '#1b0e07' '#5a3820' "$w/table_wood.png" 4 60
  light_pool "$w/table_wood.png" 248 184 520 38 "$w/table.png"

  # Felt mat and the two side panels, sunk into the table.
  felt $W $H 31 '#0f4a4d' "$w/felt.png"
  light_pool "$w/felt.png" 248 184 430 30 "$w/felt_lit.png"
  "$IM" -size ${W}x${H} xc:black -fill white \
    -draw "roundrectangle 6,6 490,298 12,12" \
    -draw "roundrectangle 504,6 633,298 12,12" \
    -draw "roundrectangle 6,312 633,473 12,12" "$w/mat_mask.png"
  # A thin brass inlay runs round each sunk area.
  "$IM" -size ${W}x${H} xc:none -fill none -stroke '#b8893a' -strokewidth 1.4 \
    -draw "roundrectangle 3,3 493,301 14,14" \
    -draw "roundrectangle 501,3 636,301 14,14" \
    -draw "roundrectangle 3,309 636,476 14,14" "$w/inlay.png"
  "$IM" "$w/table.png" "$w/inlay.png" -compose over -composite \
    \( "$w/felt_lit.png" "$w/mat_mask.png" -alpha off -compose copy_opacity -composite \) \
    -compose over -composite "$w/table_felt.png"
  # Stitching just inside each felt edge.
  "$IM" -size ${W}x${H} xc:none -fill none -stroke '#6fb3ad' -strokewidth 1 \
    -draw "stroke-dasharray 5 4 roundrectangle 12,12 484,292 8,8" \
    -draw "stroke-dasharray 5 4 roundrectangle 510,12 627,292 8,8" \
    -draw "stroke-dasharray 5 4 roundrectangle 12,318 627,467 8,8" \
    -channel A -evaluate multiply 0.45 +channel "$w/stitch.png"
  "$IM" "$w/table_felt.png" "$w/stitch.png" -compose over -composite "$w/table_felt1.png"
  recess "$w/table_felt1.png" "$w/mat_mask.png" 75 "$w/table_felt2.png"

  make_slab "$w/slab.png" "$w/slab_mask.png"
  "$IM" "$w/table_felt2.png" \
    \( "$w/slab_mask.png" -background black -alpha shape -blur 0x6 -virtual-pixel transparent -distort SRT "0,0 1 0 4,6" \
       -channel A -evaluate multiply 0.75 +channel \) -compose over -composite \
    "$w/slab.png" -compose over -composite "$1"
}

# The wooden board slab with the carved lattice, the sockets and a brass inlay border.
make_slab() { # out-rgba out-mask
  local W=640 H=480 w=$WORK
  local x0=142 y0=78 x1=354 y1=290
  rect_mask $W $H $x0 $y0 $x1 $y1 16 "$2"
  wood $W $H 41 '#6e4020' '#c98e50' "$w/slab_wood.png" 6 50
  light_pool "$w/slab_wood.png" 236 160 300 70 "$w/slab_wood_lit.png"

  # Carving as a height map (white = the slab's top): shallow grooves, and dish-shaped
  # sockets with a crisp rim.
  local d=$(( SOCKET_R * 2 + 2 ))
  "$IM" -size ${d}x${d} radial-gradient:black-white -fx "u < 0.97 ? 0.28 + 0.5 * u * u : 1" \
    "$w/dish.png"
  local dishes=() x y
  for x in "${BOARD_XS[@]}"; do
    for y in "${BOARD_YS[@]}"; do
      dishes+=( "$w/dish.png" -geometry "+$(( x - d / 2 ))+$(( y - d / 2 ))" -composite )
    done
  done
  "$IM" -size ${W}x${H} xc:white -fill gray55 -stroke gray55 -strokewidth 6 \
    -draw "stroke-linecap round $(board_lattice_draw)" -compose darken "${dishes[@]}" \
    "$w/carve_h.png"
  # The slab's own bevel: a rounded edge rising from the felt.
  "$IM" "$2" -blur 0x3 -level 0,50% "$w/slab_h.png"
  "$IM" "$w/slab_h.png" "$w/carve_h.png" -compose multiply -composite "$w/height.png"
  emboss_map "$w/height.png" 1.3 "$w/slab_light.png"
  "$IM" "$w/carve_h.png" -blur 0x0.8 +level 22%,100% "$w/carve_dark.png"

  # Brass inlay ring inside the slab edge, with a touch of relief.
  "$IM" -size ${W}x${H} xc:none -fill none -stroke '#d9b25c' -strokewidth 1.6 \
    -draw "roundrectangle $(( x0 + 8 )),$(( y0 + 8 )) $(( x1 - 8 )),$(( y1 - 8 )) 10,10" \
    "$w/slab_inlay.png"
  # Each socket gets a thin brass lip so the nine points read even on an empty board.
  local lips=""
  for x in "${BOARD_XS[@]}"; do
    for y in "${BOARD_YS[@]}"; do
      lips+=" circle $x,$y $(( x + SOCKET_R + 2 )),$y"
    done
  done
  "$IM" -size ${W}x${H} xc:none -fill none -stroke '#c79a48' -strokewidth 1.2 -draw "$lips" \
    "$w/slab_lips.png"

  "$IM" "$w/slab_wood_lit.png" "$w/carve_dark.png" -compose multiply -composite \
    "$w/slab_lips.png" -compose over -composite \
    "$w/slab_inlay.png" -compose over -composite \
    "$w/slab_light.png" -compose hardlight -composite \
    "$2" -alpha off -compose copy_opacity -composite "$1"
}

make_board_and_match() {
  make_table "$WORK/table_full.png"
  # The board draws its part of this picture itself; it needs no picture of its own.
  save_png_opaque "$WORK/table_full.png" "$PICTURES/Match.png"
}
