# shellcheck shell=bash
# Pictures and compressed images for fuzz/seeds, put together from their commands as printf writes
# them.

# Word N, Long N: two and four bytes. Rect TOP LEFT BOTTOM RIGHT.
Word() { printf '\\%03o\\%03o' $(($1 >> 8 & 255)) $(($1 & 255)); }
Long() { Word $(($1 >> 16 & 65535)) && Word $(($1 & 65535)); }
Rect() { Word "$1" && Word "$2" && Word "$3" && Word "$4"; }

# Length BYTES: how many they are.
Length() {
    # shellcheck disable=SC2059
    printf "$1" | wc -c
}

# A picture of 16 by 16 pixels of each version, up to its commands, and the clip of all of it.
first='\000\000\000\000\000\000\000\020\000\020\021\001\001\000\012\000\000\000\000\000\020\000\020'
second=$(Zeros 6)'\000\020\000\020\000\021\002\377\014\000\377\376\000\000\000\110\000\000\000\110'$(Zeros 4)
second+='\000\000\000\000\000\020\000\020\000\000\000\000\000\001\000\012\000\000\000\000\000\020\000\020'

# Picture NAME COMMANDS: one of version 2.
Picture() { Seed pictures "$1" "$second$2\\000\\377"; }

# --- Bits and pixels ----------------------------------------------------------------------------

# Bits MODE: two rows of 16 bits. Pixels PACKTYPE DEPTH COMPONENTS ROWBYTES MODE DATA: two by two.
Bits() { printf '%s' '\000\220\000\004' "$(Rect 0 0 2 16)$(Rect 0 0 2 16)$(Rect 0 0 2 16)$(Word "$1")" '\252\252\000\000\125\125\000\000'; }
Pixels() {
    printf '%s' '\000\232\000\000\000\377' "$(Word $(($4 | 32768)))$(Rect 0 0 2 2)$(Word 0)$(Word "$1")" \
        "$(Zeros 4)$(Long 72)$(Long 72)$(Word 16)$(Word "$2")$(Word "$3")$(Word 8)$(Zeros 12)" \
        "$(Rect 0 0 2 2)$(Rect 2 2 12 12)$(Word "$5")$6"
}

# Text MODE: in that mode, with a pen of it, and the pattern of a rectangle.
Text() { printf '%s' '\000\005' "$(Word "$1")" '\000\010' "$(Word $(($1 < 8 ? $1 + 8 : $1)))" '\000\050\000\014\000\001\004text\000\000\061' "$(Rect 2 2 9 9)"; }

colors='\000\032\377\377\000\000\200\000\000\033\000\000\377\377\000\000\000\035\300\000\000\000\377\377\000\037\100\000\200\000\300\000'
for mode in 0 1 2 3 4 5 6 7 16 23 32 33 34 35 36 37 38 39 49 50 64; do
    words='\174\000\003\340\000\037\177\377'
    Picture "mode-$mode" "$colors$(Text "$mode")$(Bits "$mode")$(Pixels 1 16 3 4 "$mode" "$words")$(Text "$mode")"
done
longs='\200\377\000\000\377\000\377\000\377\000\000\377\000\377\377\377'
Picture pixels-as-they-are "$(Pixels 1 32 3 8 0 "$longs")$(Pixels 1 32 4 8 0 "$longs")"
Picture pixels-without-pad "$(Pixels 2 32 3 8 0 '\377\000\000\000\377\000\000\000\377\377\377\377')"
Picture pixels-in-planes "$(Pixels 4 32 3 8 0 '\007\005\001\002\003\004\005\006\002\373\011')$(Pixels 4 32 4 8 36 '\011\007\001\002\003\004\005\006\007\010\002\371\011')"
Picture words-packed "$(Pixels 3 16 3 10 0 '\003\377\174\000\006\001\003\340\000\037')"

# An indexed map of 2 by 2 pixels with two colours, whose table says that its rows are packed.
indexed='\000\230'$(Word 32770)$(Rect 0 0 2 2)$(Word 0)$(Word 0)$(Zeros 4)$(Long 72)$(Long 72)$(Word 0)$(Word 8)$(Word 1)$(Word 8)$(Zeros 12)
table=$(Word 0)$(Word 1)$(Word 0)$(Word 65535)$(Word 0)$(Word 0)$(Word 1)$(Word 0)$(Word 0)$(Word 65535)
for seed in 0 1526644958; do
    Picture "indexed-$seed" "$indexed$(Long $seed)$table$(Rect 0 0 2 2)$(Rect 2 2 12 12)$(Word 0)"'\002\377\001\002\377\000'
done

# --- Regions ------------------------------------------------------------------------------------

# Two rectangles beside each other, and one below that joins them.
region=$(Word 44)$(Rect 2 2 14 14)$(Word 2)$(Word 2)$(Word 6)$(Word 8)$(Word 14)$(Word 32767)
region+=$(Word 8)$(Word 6)$(Word 8)$(Word 32767)$(Word 14)$(Word 2)$(Word 14)$(Word 32767)$(Word 32767)
ring=$(Word 54)$(Rect 0 0 16 16)$(Word 0)$(Word 0)$(Word 16)$(Word 32767)$(Word 4)$(Word 4)$(Word 12)$(Word 32767)
ring+=$(Word 12)$(Word 4)$(Word 12)$(Word 32767)$(Word 16)$(Word 0)$(Word 16)$(Word 32767)$(Word 32767)$(Zeros 8)
for shape in "$region" "$ring"; do
    commands=
    for opcode in 200 201 202 203 204; do commands+="\\000\\$opcode$shape"; done
    Picture "regions-$(Length "$shape")" "$commands"'\000\007\000\002\000\003\000\200'"$shape"'\000\001'"$shape$(Bits 0)"'\000\061'"$(Rect 0 0 16 16)"
done
Picture bits-in-region '\000\221\000\004'"$(Rect 0 0 2 16)$(Rect 0 0 2 16)$(Rect 0 0 16 16)$(Word 0)$region"'\252\252\000\000\125\125\000\000'

# Ovals, rounded rectangles and arcs, drawn with every pen, of every action.
for pen in 1 3 20; do
    commands='\000\007'$(Word $pen)$(Word $pen)'\000\013\000\006\000\011'
    for action in 0 1 2 3 4; do
        commands+='\000\12'$action$(Rect 1 1 15 13)'\000\10'$action$(Rect 0 0 16 16)
        for angles in '0 90' '45 300' '350 -40' '180 180' '10 720' '-90 90'; do
            # shellcheck disable=SC2086 # two words
            commands+='\000\14'$action$(Rect 1 1 15 13)$(Word ${angles% *})$(Word ${angles#* })
        done
    done
    Picture "rounds-$pen" "$commands"
done
commands='\000\160\000\032'$(Rect 1 1 15 15)$(Word 1)$(Word 1)$(Word 15)$(Word 8)$(Word 3)$(Word 15)$(Word 1)$(Word 1)
Picture polygons "$commands${commands/160/161}"'\000\172\000\173'

# --- Texts --------------------------------------------------------------------------------------

for face in 1 2 4 8 16 32 64 127; do
    Picture "face-$face" "\\000\\004\\$(printf '%03o' $face)"'\000\000\015\000\014\000\050\000\014\000\001\004Agjp\000\000\053\002\002\004Agjp\000'
done
for font in 0 1 4 13 20 21 22 23 9999; do
    Picture "font-$font" '\000\003'"$(Word $font)"'\000\015\000\012\000\050\000\014\000\001\013A\045\052\141\252\325\360\341\376\377\040'
done
Picture named-font '\000\054\000\014\003\351\011Bodoni\312\303\101\000\003\003\351\000\050\000\014\000\001\003abc\000'
Picture known-font '\000\054\000\010\003\352\005Arial\000\000\003\003\352\000\050\000\014\000\001\003abc\000'
Picture spread '\000\006\000\002\000\000\000\020\000\001\000\000\000\055\000\010\000\000\200\000\000\001\000\000\000\050\000\010\000\001\003a b\000\051\004\003c d\000\052\004\003e f\000'
Picture scaled-text '\000\020\000\002\000\001\000\001\000\001\000\050\000\010\000\001\003a b\000'
Seed pictures tiny-text "${second/000\\020\\000\\020/100\\000\\100\\000}"'\000\003\000\000\000\015\000\014\000\050\002\014\000\001\003a b\000\000\377'

# --- Colours of version 1 -----------------------------------------------------------------------

commands=
for color in 33 30 69 137 205 273 341 409 7; do
    commands+='\016'$(Long $color)'\017'$(Long $((409 - color)))'\061'$(Rect 1 1 9 9)
done
Seed pictures old-colors "$first$commands"'\377'

# --- Compressed images --------------------------------------------------------------------------

# Described CODEC WIDTH HEIGHT DEPTH DATA: an image's description and its data.
Described() { printf '%s' "$(Long 86)$1$(Zeros 24)$(Word "$2")$(Word "$3")$(Zeros 8)$(Long "$(Length "$5")")$(Zeros 34)$(Word "$4")$(Word 65535)" "$5"; }

# QuickTime MATRIX MODE MATTE MASK IMAGE: one command.
QuickTime() {
    local matte=0
    [ -z "$3" ] || matte=$(($(Length "$3") - 86))
    local command
    command=$(Word 0)$1$(Long $matte)$(Rect 0 0 2 2)$(Word "$2")$(Rect 0 0 2 2)$(Long 0)$(Long "$(Length "$4")")$3$4$5
    printf '%s' '\202\000' "$(Long "$(Length "$command")")$command"
    [ $(($(Length "$command") % 2)) -eq 0 ] || printf '%s' '\000'
}

straight=$(Long 65536)$(Zeros 12)$(Long 65536)$(Zeros 12)$(Long 65536)$(Zeros 4)
straight=$(Long 65536)$(Zeros 12)$(Long 65536)$(Zeros 4)$(Long 65536)$(Long 131072)$(Long 1073741824)
turned=$(Long 65536)$(Long 65536)$(Zeros 4)$(Long -65536)$(Long 131072)$(Zeros 4)$(Long 524288)$(Long 131072)$(Long 1073741824)
raw=$(Described 'raw ' 2 2 32 "$longs")
grey=$(Described 'raw ' 2 2 40 '\000\100\200\377')
needed='\000\050\000\010\000\001\025QuickTime and a decom\000\052\010\026pressor are needed to \000\050\000\020\000\001\005after\000'
Picture quicktime-indexed "$(for depth in 1 2 4 8; do QuickTime "$straight" 0 '' '' "$(Described 'raw ' 2 2 $depth '\300\033\200\145')"; done)"
Picture quicktime "$(QuickTime "$straight" 0 '' '' "$raw")$needed"
Picture quicktime-turned "$(QuickTime "$turned" 64 '' '' "$raw")"
Picture quicktime-matte "$(QuickTime "$straight" 0 "$grey" '' "$raw")"
Picture quicktime-mask "$(QuickTime "$straight" 256 '' "$region" "$raw")$(QuickTime "$turned" 36 "$grey" "$region" "$grey")"
Picture quicktime-unknown "$(QuickTime "$straight" 0 '' '' "$(Described 'none' 2 2 24 "$longs")")$(Bits 0)$needed"

# Image CODEC DEPTH WIDTH HEIGHT NAME DATA: what the target of the decoders reads. Codecs and depths
# are numbers in its lists.
Image() { Seed codecs "$5" "$(Word $(($1 * 256 + $2)))$(Word $((($3 - 1) * 256 + $4 - 1)))$6"; }
bytes='\001\002\003\004\005\006\007\010\011\012\013\014\015\016\017\020'
for depth in {0..10}; do
    Image 2 "$depth" 4 4 "raw-$depth" "$bytes$bytes$bytes$bytes"
    Image 3 "$depth" 8 4 "rle-$depth" "$(Zeros 4)"'\000\000\002\001'"$bytes"'\376'"$bytes"'\000\002\377\001\002'"$bytes$bytes"'\377\003\376'"$bytes"'\377\000'
    Image 3 "$depth" 8 4 "rle-rows-$depth" "$(Zeros 4)"'\000\010\000\001\000\000\000\002\000\000\201\001'"$bytes"'\201\376'"$bytes"'\000\377\000\000'
    Image 7 "$depth" 4 2 "planes-$depth" '\000\005\000\002\000\005\000\002\000\005\000\002\000\005\000\002\003\001\002\003\004\375\007\003\001\002\003\004\375\007\003\001\002\003\004\375\007\003\001\002\003\004\375\007'
done
Image 2 141 4 4 raw-alpha "$bytes$bytes$bytes$bytes"
Image 7 141 4 1 planes-alpha '\000\002\000\002\000\002\000\002\375\007\375\007\375\007\375\100'
Image 4 3 16 16 smc "$(Zeros 4)"'\140\001\000\020\001\040\060\001\101\120\000\141\005\160\001\006\200\001\002\125\252\220\000\125\252\240\001\002\003\004\125\252\125\252\260\000\125\252\125\252\300\001\002\003\004\005\006\007\010\125\252\125\252\125\252\320\000\125\252\125\252\125\252\340'"$bytes"'\360'
Image 5 4 16 16 rpza '\341\000\000\100\200\241\174\000\300\003\340\174\000\125\252\125\252\200\003\340\000\037'"$bytes$bytes$bytes"
Image 6 5 8 8 cvid '\000\000\000\110\000\010\000\010\000\001\020\000\000\076\000\000\000\000\000\010\000\010\040\000\000\020'"${bytes:0:48}"'\042\000\000\012\001\002\003\004\005\006\060\000\000\014\200\000\000\000\000\000\000\000'
# shellcheck disable=SC2154 # the file of fuzz/seeds
Image 1 5 1 1 png "$png"
Image 0 5 8 8 jpeg '\377\330\377\333\000\103\000'"$(Zeros 64)"'\377\331'
Image 8 5 16 16 drawing "$second$(Bits 0)"'\000\377'
Image 8 5 16 16 drawing-with-length "$(Long 60)$second$(Bits 0)"'\000\377'
