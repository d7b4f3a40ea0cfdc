# shellcheck shell=bash
# The title screen: the splash DK.jpg and the calmer background TitleBack.png (title at the
# top, y 10..75; a free band below it; felt panels for the description, x 16..334,
# y 146..334, and for the maker's page, x 354..626, y 146..404).
# Sourced by make_assets.sh (after art_table.sh, whose slab and pieces it reuses).

# Bevelled gold lettering with a dark outline, as an RGBA picture trimmed to its ink.
gold_text() { # text font pointsize out [outline-px]
  local w=$WORK line=${5:-3}
  "$IM" -background black -fill white -font "$2" -pointsize "$3" label:"$1" \
    -bordercolor black -border $(( line * 3 + 8 )) "$w/gt_mask.png"
  local size
  size=$("$IM" "$w/gt_mask.png" -format %wx%h info:)
  "$IM" -size "$size" gradient:'#fff6c8-#f0b443' \
    \( -size "$size" gradient:'#f0b443-#7a4a0c' \) -append -resize "$size!" "$w/gt_fill.png"
  "$IM" "$w/gt_mask.png" -blur 0x1.6 -shade 135x38 -evaluate multiply 0.62 "$w/gt_light.png"
  "$IM" "$w/gt_fill.png" "$w/gt_light.png" -compose hardlight -composite \
    "$w/gt_mask.png" -alpha off -compose copy_opacity -composite "$w/gt_face.png"
  "$IM" "$w/gt_mask.png" -morphology Dilate "Disk:$line" -blur 0x0.6 "$w/gt_outline_a.png"
  "$IM" "$w/gt_outline_a.png" -blur 0x4 -virtual-pixel black -distort SRT "0,0 1 0 3,5" -evaluate multiply 0.8 "$w/gt_shadow_a.png"
  "$IM" -size "$size" xc:black "$w/gt_shadow_a.png" -alpha off -compose copy_opacity -composite \
    \( -size "$size" xc:'#2a1405' "$w/gt_outline_a.png" -alpha off -compose copy_opacity -composite \) \
    -compose over -composite "$w/gt_face.png" -compose over -composite -trim +repage "$4"
}

# Plain light text with a soft shadow.
soft_text() { # text font pointsize colour out [kerning]
  "$IM" -background none -fill "$4" -font "$2" -pointsize "$3" -kerning "${6:-0}" \
    label:"$1" \( +clone -background black -shadow 85x2+1+2 \) +swap \
    -background none -layers merge +repage "$5"
}

# The board slab with a game in progress, cut out of the match table.
title_board() { # out
  local w=$WORK
  [ -f "$w/slab.png" ] || make_table "$w/table_full.png"
  local args=() cell p x y
  for cell in 0:0:O2 1:1:O2 2:2:O2 1:0:X 0:1:X 2:1:X 0:2:X; do
    IFS=: read -r x y p <<<"$cell"
    args+=( "$PICTURES/$p.gif" -geometry "+$(( 152 + x * 64 ))+$(( 88 + y * 64 ))" -composite )
  done
  "$IM" "$w/slab.png" -compose over "${args[@]}" -crop 222x222+137+73 +repage "$1"
}

# Sun rays behind the title: stripes bent round a point.
rays() { # width height cx cy out
  local d=1200
  "$IM" -size 8x600 gradient:white-black -size 8x600 xc:black +append \
    -write mpr:ray +delete -size 448x600 tile:mpr:ray -resize "${d}x$(( d / 2 ))!" \
    -virtual-pixel black -distort DePolar 0 -blur 0x2 -resize "${d}x${d}!" \
    \( -size "${d}x${d}" radial-gradient:white-black \) -compose multiply -composite \
    -gravity center -crop "${1}x${2}+$(( $3 - $1 / 2 ))+$(( $4 - $2 / 2 ))" +repage "$5"
}

make_title() {
  local w=$WORK
  make_splash
  make_title_back
}

make_splash() {
  local w=$WORK W=640 H=420
  # Deep teal night with a warm glow behind the title and faint rays.
  "$IM" -size 900x900 radial-gradient:'#1f7d78-#03110f' -gravity center \
    -crop ${W}x${H}+0-150 +repage "$w/dk_bg.png"
  rays $W $H 320 60 "$w/dk_rays.png"
  "$IM" "$w/dk_bg.png" \( "$w/dk_rays.png" -evaluate multiply 0.22 \) -compose screen -composite \
    "$w/dk_bg2.png"
  felt $W $H 51 gray50 "$w/dk_grain.png"
  "$IM" "$w/dk_bg2.png" "$w/dk_grain.png" -compose overlay -composite "$w/dk_bg3.png"

  # The board, tilted back on the table, with a long soft shadow.
  title_board "$w/dk_board.png"
  "$IM" "$w/dk_board.png" -virtual-pixel transparent -background none \
    +distort Perspective '0,0 48,0  221,0 282,0  0,221 0,150  221,221 330,150' \
    +repage "$w/dk_tilt.png"
  # A stone pair tumbling beside the board.
  stone O 74 "$w/dk_o.png"
  stone X 64 "$w/dk_x.png"
  "$IM" "$w/dk_x.png" -background none -rotate 18 "$w/dk_x_rot.png"

  gold_text "Dorvala Online" "$FONT_TITLE" 66 "$w/dk_title.png" 3
  soft_text "POBREK ONLINE GAMES" "$FONT_SANS_BOLD" 15 '#f3e4c0' "$w/dk_sub.png" 5

  local tw th sw
  tw=$("$IM" "$w/dk_title.png" -format %w info:)
  th=$("$IM" "$w/dk_title.png" -format %h info:)
  sw=$("$IM" "$w/dk_sub.png" -format %w info:)
  drop_on "$w/dk_bg3.png" "$w/dk_tilt.png" 155 245 75 8 0 14 "$w/dk_1.png"
  drop_on "$w/dk_1.png" "$w/dk_o.png" 66 283 70 4 4 8 "$w/dk_2.png"
  drop_on "$w/dk_2.png" "$w/dk_x_rot.png" 500 290 70 4 4 8 "$w/dk_3.png"
  "$IM" "$w/dk_3.png" \
    "$w/dk_title.png" -geometry "+$(( (W - tw) / 2 ))+$(( 112 - th / 2 ))" -compose over -composite \
    "$w/dk_sub.png" -geometry "+$(( (W - sw) / 2 ))+178" -compose over -composite \
    "$w/dk.png"
  # A fine brass frame round the whole splash.
  "$IM" "$w/dk.png" -fill none -stroke '#c9a04a' -strokewidth 1.5 \
    -draw "rectangle 6,6 633,413" -stroke '#5b3d12' -strokewidth 1 -draw "rectangle 9,9 630,410" \
    "$w/dk_framed.png"
  save_jpeg_opaque "$w/dk_framed.png" "$PICTURES/DK.jpg"
}

make_title_back() {
  local w=$WORK W=640 H=420
  wood $W $H 61 '#170c05' '#4a2e1a' "$w/tb_wood.png" 4 60
  light_pool "$w/tb_wood.png" 320 90 520 45 "$w/tb_lit.png"
  # Felt panels: the description on the left, the maker's page on the right.
  felt $W $H 71 '#0c3d40' "$w/tb_felt.png"
  "$IM" -size ${W}x${H} xc:black -fill white \
    -draw "roundrectangle 16,146 334,334 12,12" \
    -draw "roundrectangle 354,146 626,404 12,12" "$w/tb_mask.png"
  "$IM" -size ${W}x${H} xc:none -fill none -stroke '#b8893a' -strokewidth 1.4 \
    -draw "roundrectangle 13,143 337,337 14,14" \
    -draw "roundrectangle 351,143 629,407 14,14" "$w/tb_inlay.png"
  "$IM" "$w/tb_lit.png" "$w/tb_inlay.png" -compose over -composite \
    \( "$w/tb_felt.png" "$w/tb_mask.png" -alpha off -compose copy_opacity -composite \) \
    -compose over -composite "$w/tb_panels.png"
  recess "$w/tb_panels.png" "$w/tb_mask.png" 75 "$w/tb_sunk.png"

  # Only the title is painted: the screen's own labels (studio, version) and its two
  # decoration pictures go in the band below it and at its sides.
  gold_text "Dorvala Online" "$FONT_TITLE" 48 "$w/tb_title.png" 3
  local tw
  tw=$("$IM" "$w/tb_title.png" -format %w info:)
  "$IM" "$w/tb_sunk.png" \
    "$w/tb_title.png" -geometry "+$(( (W - tw) / 2 ))+10" -compose over -composite "$w/tb.png"
  save_png_opaque "$w/tb.png" "$PICTURES/TitleBack.png"
}

# The setup screen's background, 480x400, drawn for its controls: a title band
# (y 0..37), a felt panel for the name row and the three choice pictures (x 10..469,
# y 46..210), a felt panel for the addresses, the mode switch and the small buttons
# (x 10..469, y 218..346), and bare walnut under the three image buttons (y 352..393).
# The arrow of the styled list boxes comes with it.
make_login_back() {
  local w=$WORK W=480 H=400
  wood $W $H 63 '#170c05' '#4a2e1a' "$w/lb_wood.png" 4 60
  light_pool "$w/lb_wood.png" 240 120 420 45 "$w/lb_lit.png"
  # A darker title band with a brass rule under it.
  "$IM" "$w/lb_lit.png" \( -size ${W}x37 xc:'rgba(0,0,0,0.38)' \) -geometry +0+0 -compose over -composite \
    -fill none -stroke '#b8893a' -strokewidth 1.2 -draw "line 0,37.5 $W,37.5" \
    -stroke '#2a1405' -strokewidth 1 -draw "line 0,39 $W,39" "$w/lb_band.png"

  felt $W $H 73 '#0c3d40' "$w/lb_felt.png"
  "$IM" -size ${W}x${H} xc:black -fill white \
    -draw "roundrectangle 10,46 469,210 10,10" \
    -draw "roundrectangle 10,218 469,346 10,10" "$w/lb_mask.png"
  "$IM" -size ${W}x${H} xc:none -fill none -stroke '#b8893a' -strokewidth 1.4 \
    -draw "roundrectangle 7,43 472,213 12,12" \
    -draw "roundrectangle 7,215 472,349 12,12" "$w/lb_inlay.png"
  "$IM" -size ${W}x${H} xc:none -fill none -stroke '#6fb3ad' -strokewidth 1 \
    -draw "stroke-dasharray 5 4 roundrectangle 15,51 464,205 7,7" \
    -draw "stroke-dasharray 5 4 roundrectangle 15,223 464,341 7,7" \
    -channel A -evaluate multiply 0.40 +channel "$w/lb_stitch.png"
  "$IM" "$w/lb_band.png" "$w/lb_inlay.png" -compose over -composite \
    \( "$w/lb_felt.png" "$w/lb_mask.png" -alpha off -compose copy_opacity -composite \) \
    -compose over -composite "$w/lb_stitch.png" -compose over -composite "$w/lb_panels.png"
  recess "$w/lb_panels.png" "$w/lb_mask.png" 75 "$w/lb_sunk.png"

  gold_text "Dorvala Online" "$FONT_TITLE" 28 "$w/lb_title.png" 2
  local tw th
  tw=$("$IM" "$w/lb_title.png" -format %w info:)
  th=$("$IM" "$w/lb_title.png" -format %h info:)
  "$IM" "$w/lb_sunk.png" \
    "$w/lb_title.png" -geometry "+$(( (W - tw) / 2 ))+$(( (37 - th) / 2 + 1 ))" -compose over -composite \
    "$w/lb.png"
  save_png_opaque "$w/lb.png" "$PICTURES/LoginBack.png"
  make_drop_arrow
}

# The arrow of a drop-down list box on a cream field, 10x6, drawn large and reduced.
make_drop_arrow() {
  "$IM" -size 40x24 xc:none -fill '#6b4a1a' -draw "polygon 2,2 38,2 20,22" \
    -filter box -resize 10x6 "$WORK/drop_arrow.png"
  save_png "$WORK/drop_arrow.png" "$PICTURES/DropArrow.png"
}
