# shellcheck shell=bash
# The setup screen's choice pictures, the about pictures, the application icon and the
# maker page's logo. Sourced by make_assets.sh (after art_table.sh and art_title.sh).

# A gold ornament from a draw command: bevelled, with a dark outline and a soft shadow.
gold_shape() { # width height draw-command out
  local w=$WORK
  "$IM" -size "${1}x${2}" xc:black -fill white -stroke white -strokewidth 1 -draw "$3" "$w/gs_mask.png"
  "$IM" -size "${1}x${2}" gradient:'#fff2b0-#c88a22' "$w/gs_fill.png"
  "$IM" "$w/gs_mask.png" -blur 0x1.2 -shade 135x40 -evaluate multiply 0.778 "$w/gs_light.png"
  "$IM" "$w/gs_mask.png" -morphology Dilate Disk:1.5 "$w/gs_rim.png"
  "$IM" -size "${1}x${2}" xc:black \( "$w/gs_rim.png" -blur 0x2 -virtual-pixel black -distort SRT "0,0 1 0 1,2" -evaluate multiply 0.6 \) \
    -alpha off -compose copy_opacity -composite \
    \( -size "${1}x${2}" xc:'#3a2006' "$w/gs_rim.png" -alpha off -compose copy_opacity -composite \) \
    -compose over -composite \
    \( "$w/gs_fill.png" "$w/gs_light.png" -compose hardlight -composite \
       "$w/gs_mask.png" -alpha off -compose copy_opacity -composite \) \
    -compose over -composite "$4"
}

# The card behind a choice picture: a felt tile in a brass rim.
pick_card() { # out
  local w=$WORK
  felt 120 90 81 '#0f4a4d' "$w/pc_felt.png"
  light_pool "$w/pc_felt.png" 60 34 110 45 "$w/pc_lit.png"
  "$IM" -size 120x90 xc:black -fill white -draw "roundrectangle 1,1 118,88 10,10" "$w/pc_mask.png"
  "$IM" "$w/pc_lit.png" -fill none -stroke '#c9a04a' -strokewidth 1.5 \
    -draw "roundrectangle 1.5,1.5 117.5,87.5 10,10" \
    "$w/pc_mask.png" -alpha off -compose copy_opacity -composite "$1"
}

make_picks() {
  local w=$WORK
  pick_card "$w/card.png"

  # Host: the O stone under a crown.
  stone O 54 "$w/pk_o.png"
  gold_shape 120 90 "polygon 46,34 42,14 52,24 60,9 68,24 78,14 74,34" "$w/pk_crown.png"
  drop_on "$w/card.png" "$w/pk_o.png" 33 30 70 3 2 4 "$w/pk_h1.png"
  "$IM" "$w/pk_h1.png" "$w/pk_crown.png" -compose over -composite "$w/pk_host.png"
  save_png "$w/pk_host.png" "$PICTURES/HostPick.png"

  # Join: an arrow leading into the X stone.
  stone X 50 "$w/pk_x.png"
  gold_shape 120 90 "polygon 10,38 36,38 36,28 56,45 36,62 36,52 10,52" "$w/pk_arrow.png"
  drop_on "$w/card.png" "$w/pk_x.png" 58 20 70 3 2 4 "$w/pk_j1.png"
  "$IM" "$w/pk_j1.png" "$w/pk_arrow.png" -compose over -composite "$w/pk_join.png"
  save_png "$w/pk_join.png" "$PICTURES/JoinPick.png"

  # Lobby: a globe with stones round it.
  stone globe 62 "$w/pk_globe.png"
  stone O 26 "$w/pk_so.png"
  stone X 24 "$w/pk_sx.png"
  drop_on "$w/card.png" "$w/pk_globe.png" 29 12 70 3 2 4 "$w/pk_l1.png"
  drop_on "$w/pk_l1.png" "$w/pk_so.png" 14 52 70 2 1 2 "$w/pk_l2.png"
  drop_on "$w/pk_l2.png" "$w/pk_sx.png" 82 10 70 2 1 2 "$w/pk_lobby.png"
  save_png "$w/pk_lobby.png" "$PICTURES/Lobby.png"

  # Practice: the O stone before a gold screen, the computer it plays.
  gold_shape 120 90 "roundrectangle 52,12 108,52 5,5 rectangle 75,52 85,62 roundrectangle 62,61 98,67 3,3" "$w/pk_screen.png"
  "$IM" -size 120x90 xc:none -fill '#0f3b3e' -stroke '#3a2006' -strokewidth 1 \
    -draw "roundrectangle 58,18 102,46 3,3" "$w/pk_glass.png"
  stone O 46 "$w/pk_po.png"
  "$IM" "$w/card.png" "$w/pk_screen.png" -compose over -composite "$w/pk_glass.png" -compose over -composite "$w/pk_p1.png"
  drop_on "$w/pk_p1.png" "$w/pk_po.png" 12 34 70 3 2 4 "$w/pk_practice.png"
  save_png "$w/pk_practice.png" "$PICTURES/Practice.png"
}

# The studio emblem: a gold medallion holding an O and an X stone.
emblem() { # size out
  local w=$WORK s=$1
  stone gold_disc "$s" "$w/em_disc.png"
  felt "$s" "$s" 91 '#0f4a4d' "$w/em_felt.png"
  local r=$(( s * 40 / 100 )) c=$(( s / 2 ))
  "$IM" "$w/em_felt.png" \
    \( -size "${s}x${s}" xc:black -fill white -draw "circle $c,$c $(( c + r )),$c" \) \
    -alpha off -compose copy_opacity -composite "$w/em_inner.png"
  stone O $(( s * 46 / 100 )) "$w/em_o.png"
  stone X $(( s * 42 / 100 )) "$w/em_x.png"
  "$IM" "$w/em_disc.png" "$w/em_inner.png" -compose over -composite "$w/em_1.png"
  drop_on "$w/em_1.png" "$w/em_o.png" $(( s * 12 / 100 )) $(( s * 26 / 100 )) 70 2 1 3 "$w/em_2.png"
  drop_on "$w/em_2.png" "$w/em_x.png" $(( s * 46 / 100 )) $(( s * 30 / 100 )) 70 2 1 3 "$2"
}

make_about() {
  local w=$WORK
  emblem 170 "$w/ab_emblem.png"
  "$IM" -size 180x180 xc:none "$w/ab_emblem.png" -geometry +5+5 -compose over -composite "$w/ab1.png"
  save_png "$w/ab1.png" "$PICTURES/About1.png"

  title_board "$w/ab_board.png"
  "$IM" "$w/ab_board.png" -filter Lanczos -resize 164x164 "$w/ab_board_s.png"
  "$IM" -size 180x180 xc:none "$w/ab_empty.png"
  drop_on "$w/ab_empty.png" "$w/ab_board_s.png" 6 4 75 4 2 5 "$w/ab2.png"
  save_png "$w/ab2.png" "$PICTURES/About2.png"
}

# The application icon: a felt tile in a brass rim with an O and an X stone.
make_icons() {
  local w=$WORK s=256
  felt $s $s 101 '#0f4a4d' "$w/ic_felt.png"
  light_pool "$w/ic_felt.png" 110 100 220 40 "$w/ic_lit.png"
  "$IM" -size ${s}x${s} xc:black -fill white -draw "roundrectangle 8,8 247,247 48,48" "$w/ic_mask.png"
  "$IM" "$w/ic_lit.png" -fill none -stroke '#d9b25c' -strokewidth 6 \
    -draw "roundrectangle 11,11 244,244 45,45" \
    "$w/ic_mask.png" -alpha off -compose copy_opacity -composite "$w/ic_tile.png"
  stone O 132 "$w/ic_o.png"
  stone X 124 "$w/ic_x.png"
  drop_on "$w/ic_tile.png" "$w/ic_o.png" 26 24 70 5 3 6 "$w/ic_1.png"
  drop_on "$w/ic_1.png" "$w/ic_x.png" 104 102 70 5 3 6 "$w/icon.png"
  # The window icon: title bars and task bars show it small, and a smaller picture is
  # decoded sooner at start.
  "$IM" "$w/icon.png" -filter Lanczos -resize 64x64 "$w/icon64.png"
  save_png "$w/icon64.png" "$PICTURES/Icon.png"
  save_png "$w/icon.png" "$ICONS/dorvala.png"
  # The desktop's icon theme sizes. Below 48 px a light sharpening keeps the two stones
  # apart instead of melting into one blur.
  local size
  for size in 16 22 24 32 48 64 128; do
    if [ $size -lt 48 ]; then
      "$IM" "$w/icon.png" -filter Lanczos -resize ${size}x${size} -unsharp 0x0.6+0.8+0 "$w/icon$size.png"
    else
      "$IM" "$w/icon.png" -filter Lanczos -resize ${size}x${size} "$w/icon$size.png"
    fi
    save_png "$w/icon$size.png" "$ICONS/dorvala-$size.png"
  done
}

make_misc() {
  make_about
  make_icons
  emblem 64 "$WORK/logo.png"
  save_png "$WORK/logo.png" "$MAKER/logo.png"
}
