# shellcheck shell=bash
# The board pictures (N, O, X, O2, X2 as 65x65 GIFs), the two turn lamps and the two
# decoration stones. Sourced by make_assets.sh.

# The pieces lie in the sockets: their cut edge is blended onto the socket's dark wood.
PIECE_MATTE='#3e2917'

make_pieces() {
  local p
  for p in O X O2 X2; do
    stone "$p" 65 "$WORK/piece_$p.png"
    save_gif "$WORK/piece_$p.png" "$PIECE_MATTE" "$PICTURES/$p.gif"
  done
  # The empty point: a fully transparent picture.
  "$IM" -size 65x65 xc:none -strip "GIF:$PICTURES/N.gif"

  # Turn lamps: a lit amber lamp in a gold bezel, and the same lamp dark.
  # The lit lamp also glows onto its surroundings.
  stone lamp 25 "$WORK/lamp.png"
  stone lamp_off 25 "$WORK/lamp_off.png"
  "$IM" -size 33x33 xc:none -fill '#ffc43a' -draw "circle 16,16 16,3" -blur 0x2.2 \
    -channel A -evaluate multiply 0.75 +channel \
    "$WORK/lamp.png" -geometry +4+4 -compose over -composite "$WORK/gil1.png"
  "$IM" -size 33x33 xc:none "$WORK/lamp_off.png" -geometry +4+4 -compose over -composite \
    "$WORK/gil2.png"
  save_png "$WORK/gil1.png" "$PICTURES/GIL1.png"
  save_png "$WORK/gil2.png" "$PICTURES/GIL2.png"

  # Decorations: large stones with a soft shadow, for the title screen's sides.
  deco_stone O 1
  deco_stone X 2
}

deco_stone() { # preset number
  stone "$1" 84 "$WORK/deco_stone.png"
  "$IM" -size 96x96 xc:none \
    \( "$WORK/deco_stone.png" -background black -shadow 70x3+0+0 +repage \) \
    -geometry +0+3 -compose over -composite \
    "$WORK/deco_stone.png" -geometry +6+2 -compose over -composite "$WORK/deco$2.png"
  save_png "$WORK/deco$2.png" "$PICTURES/Deco$2.png"
}
