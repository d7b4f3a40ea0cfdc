# shellcheck shell=bash
# Screen furniture: the button faces T1..T4, the speech bubbles, the chat icons and the
# three choice pictures of the setup screen. Sourced by make_assets.sh.

# One button face, 121x41: a teal glass pill in a brass rim. The caption is drawn over it
# by the program, so the middle stays an even, dark enough tone for white text.
button_face() { # top bottom rim glow(none|colour) shift out
  local w=$WORK s=$5
  "$IM" -size 121x41 xc:black -fill white \
    -draw "roundrectangle $(( 2 + s )),$(( 2 + s )) $(( 118 + s - 1 )),$(( 38 + s - 1 )) 9,9" \
    "$w/bt_mask.png"
  "$IM" -size 121x41 gradient:"$1-$2" "$w/bt_fill.png"
  "$IM" "$w/bt_mask.png" -blur 0x1.4 -shade 135x50 -evaluate multiply 0.653 "$w/bt_light.png"
  # A soft gloss over the upper half.
  "$IM" -size 121x41 xc:none -fill 'rgba(255,255,255,0.20)' \
    -draw "roundrectangle $(( 6 + s )),$(( 4 + s )) $(( 114 + s )),$(( 18 + s )) 7,7" \
    -blur 0x1.2 "$w/bt_gloss.png"
  "$IM" "$w/bt_fill.png" "$w/bt_light.png" -compose hardlight -composite \
    "$w/bt_gloss.png" -compose over -composite \
    -fill none -stroke "$3" -strokewidth 1.3 \
    -draw "roundrectangle $(( 2 + s )).5,$(( 2 + s )).5 $(( 117 + s )).5,$(( 37 + s )).5 9,9" \
    "$w/bt_mask.png" -alpha off -compose copy_opacity -composite "$w/bt_body.png"
  if [ "$4" = none ]; then
    "$IM" "$w/bt_body.png" "$6"
  else
    "$IM" "$w/bt_mask.png" -morphology Dilate Disk:1 -blur 0x1.6 "$w/bt_glow_a.png"
    "$IM" -size 121x41 xc:"$4" "$w/bt_glow_a.png" -alpha off -compose copy_opacity -composite \
      "$w/bt_body.png" -compose over -composite "$6"
  fi
}

make_buttons() {
  local w=$WORK
  button_face '#23918a' '#0b4245' '#d9ae55' none 0 "$w/t1.png"
  button_face '#35b8ad' '#126762' '#ffd67a' '#ffd466' 0 "$w/t2.png"
  button_face '#0a3537' '#16605c' '#a9823c' none 1 "$w/t3.png"
  button_face '#7d8485' '#474c4d' '#8d8d86' none 0 "$w/t4.png"
  local i
  for i in 1 2 3 4; do save_png "$w/t$i.png" "$PICTURES/T$i.png"; done
}

# A speech bubble, 230x64: a light cream body with a rim in the speaker's colour and a tail
# under one end; the text area x 12..218, y 8..44 stays plain.
bubble() { # side(left|right) rim out
  local w=$WORK tail
  if [ "$1" = left ]; then
    tail="path 'M 26,46 C 24,54 16,60 6,63 C 22,62 38,56 48,46 Z'"
  else
    tail="path 'M 204,46 C 206,54 214,60 224,63 C 208,62 192,56 182,46 Z'"
  fi
  "$IM" -size 230x64 xc:black -fill white -draw "roundrectangle 3,2 226,50 14,14" \
    -draw "$tail" "$w/bb_mask.png"
  "$IM" -size 230x64 gradient:'#fffdf4-#f1e6cc' "$w/bb_fill.png"
  "$IM" "$w/bb_mask.png" -morphology EdgeIn Disk:1.6 "$w/bb_edge.png"
  "$IM" "$w/bb_fill.png" \( -size 230x64 xc:"$2" "$w/bb_edge.png" -alpha off \
    -compose copy_opacity -composite \) -compose over -composite \
    \( "$w/bb_mask.png" -evaluate multiply 0.93 \) -alpha off -compose copy_opacity -composite \
    "$w/bb_body.png"
  # A faint shadow below makes it float over the table.
  "$IM" -size 230x64 xc:black \( "$w/bb_mask.png" -blur 0x2 -virtual-pixel black -distort SRT "0,0 1 0 1,2" -evaluate multiply 0.45 \) \
    -alpha off -compose copy_opacity -composite "$w/bb_body.png" -compose over -composite "$3"
}

make_bubbles() {
  bubble left '#1d8f86' "$WORK/bo.png"
  bubble right '#c2452a' "$WORK/bx.png"
  save_png "$WORK/bo.png" "$PICTURES/BubbleO.png"
  save_png "$WORK/bx.png" "$PICTURES/BubbleX.png"
}

# A rounded speech icon, 48x48, with three dots.
chat_icon() { # top bottom tail-side(left|right) out
  local w=$WORK tail
  if [ "$3" = left ]; then tail="path 'M 12,32 L 8,44 L 22,34 Z'"; else tail="path 'M 36,32 L 40,44 L 26,34 Z'"; fi
  "$IM" -size 48x48 xc:black -fill white -draw "roundrectangle 3,5 44,35 11,11" -draw "$tail" \
    "$w/ci_mask.png"
  "$IM" -size 48x48 gradient:"$1-$2" "$w/ci_fill.png"
  "$IM" "$w/ci_mask.png" -blur 0x1.5 -shade 135x50 -evaluate multiply 0.653 "$w/ci_light.png"
  "$IM" "$w/ci_fill.png" "$w/ci_light.png" -compose hardlight -composite \
    -fill '#fff8e6' -draw "circle 14,20 17,20 circle 24,20 27,20 circle 34,20 37,20" \
    "$w/ci_mask.png" -alpha off -compose copy_opacity -composite "$w/ci_body.png"
  "$IM" -size 48x48 xc:black \( "$w/ci_mask.png" -blur 0x1.5 -virtual-pixel black -distort SRT "0,0 1 0 1,2" -evaluate multiply 0.5 \) \
    -alpha off -compose copy_opacity -composite "$w/ci_body.png" -compose over -composite "$4"
}

make_chat_icons() {
  chat_icon '#3fc9b8' '#137a72' left "$WORK/c1.png"
  chat_icon '#f07a4a' '#a8301a' right "$WORK/c2.png"
  save_png "$WORK/c1.png" "$PICTURES/Chat1.png"
  save_png "$WORK/c2.png" "$PICTURES/Chat2.png"
}

make_ui() {
  make_buttons
  make_bubbles
  make_chat_icons
  make_picks
}
