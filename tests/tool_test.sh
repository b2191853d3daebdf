#!/bin/bash
# Runs vdxconv as a user does: command lines, input and files in; output, messages, status out.
#   tool_test.sh VDXCONV MAKE_VALUES PROJECT_DIRECTORY [wine]
set -u
export LC_ALL=C
vdxconv=$(realpath "$1") make_values=$(realpath "$2") project=$(realpath "$3")
wine=${4:-}
values=$project/examples/data/values.txt
dates=$project/examples/data/dates.txt
work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
failures=0

fail() {
  echo "FAILED: $*" >&2
  failures=$((failures + 1))
}

# same WHAT FILE FILE
same() { cmp -s "$2" "$3" || { fail "$1"; diff -a "$2" "$3" | head -6 >&2; }; }

# row ARGUMENTS INPUT STATUS OUTPUT MESSAGES: texts in the escapes of printf, all compared exactly.
row() {
  printf '%b' "$2" > in
  printf '%b' "$4" > want.out
  printf '%b' "$5" > want.err
  eval "\"\$vdxconv\" $1" < in > out 2> err
  local status=$?
  [ $status = "$3" ] || fail "vdxconv $1: status $status, not $3"
  same "vdxconv $1: output" want.out out
  same "vdxconv $1: messages" want.err err
}

hint="\nTry 'vdxconv --help'.\n"
odd() { echo "\"$1\" is unexpected (-105)\\n"; }

# Values and their display.
row 'char i4 "  -42" +7 -8' '' 0 '-42\n7\n-8\n' ''
row 'char money -p 4 "$ 1,234.56785"' '' 0 '1234.5679\n' ''
row 'i4 char -m5 --pad-blank -t --hex 12' '' 0 '3132202000\n' ''
row 'i4 char --maxlength=4 --pad-null --raw 12 345' '' 0 '12\0000\0000345\0000' ''
row 'i4 bin --hex 258 -1' '' 0 '02010000\nffffffff\n' ''
# The bytes after a record's text belong to it; where a conversion sets no length, its size is shown.
row 'char varchar --hex abcdef ab' '' 0 "0600616263646566$(printf %0500d)\n02006162$(printf %0508d)\n" ''
row 'bit varbin --hex 1' '' 0 "010031$(printf %0510d)\n" ''
# A void shows nothing in any datatype; some of those have no text.
for code in {0..36}; do row "void $code x ''" '' 0 '\n\n' ''; done
row 'char i4 -q -c sjis' '\0202\0120\0202\0121\n' 0 '12\n' ''

# Dates. Style and order hold for both conversions of a value.
row 'char datetime "Jan 2 2008 1:05:09.123PM" --style 9' '' 0 'Jan  2 2008  1:05:09:123PM\n' ''
row 'char bigdatetime --style 121 --date-order dmy 3/4/05 2008/3/4 "3 jul 1752"' '' 0 \
  '2005/04/03 00:00:00\n2008/03/04 00:00:00\n1752/07/03 00:00:00\n' ''
row 'char datetime --hex 1900-01-02T00:00:01' '' 0 '010000002c010000\n' ''
row 'char datetime 1752-12-31 2/30/2008 25:00 yesterday 2008-01-02' '' 1 'Jan  2 2008 12:00AM\n' \
  "argument:1: \"1752-12-31\": \"1752-12-31\" is below 1753-01-01 (-101)
argument:2: \"2/30/2008\": day 30 is not 1 to 29 (-101)
argument:3: \"25:00\": hour 25 is not 0 to 23 (-101)
argument:4: \"yesterday\": \"yesterday\" is no month (-105)\n"

# Failures are reported and the rest goes on.
row 'char i4 1 x 3000000000 2' '' 1 '1\n2\n' "argument:2: \"x\": $(odd x)argument:3: \"3000000000\": \"3000000000\" is above 2147483647 (-101)\n"
row 'i4 char -m 2 -t 12 1' '' 1 '1\0000\n' 'argument:1: "12": the value does not fit into 1 bytes (-101)\n'
row 'char i4 -q' '\001\033[1m"\\\0303\0251\0200\0302\0205\0177' 1 '' \
  'stdin:1: "\\x01\\x1b[1m\\"\\\\\0303\0251\\x80\\xc2\\x85\\x7f": '"$(odd '\\x01')"

# Lines.
row 'char i4 -q' '1\r\n2\r' 1 '1\n' "stdin:2: \"2\\\\x0d\": $(odd '\\x0d')"
row 'char i4 -q --keep-cr' '1\r\n2\n' 1 '2\n' "stdin:1: \"1\\\\x0d\": $(odd '\\x0d')"
row 'char i4 -q -f -' '1\n\n\r\n3\n' 1 '1\n3\n' 'stdin:2: "": empty (-105)\nstdin:3: "": empty (-105)\n'
row 'char i4 -q -r rejects' 'a\r\n1\n\nb\0000' 1 '1\n' \
  "stdin:1: \"a\": $(odd a)stdin:3: \"\": empty (-105)\nstdin:4: \"b\\\\x00\": $(odd b)"
same 'rejects keep line ends' <(printf 'a\r\n\nb\0') rejects

# Wrong usage and trouble.
usage() { row "$1" '' 2 '' "vdxconv: $2$hint"; }
usage '--matrix x' "'x' is one word too many"
usage 'char 40 1' "'40' is not a datatype; vdxconv --types lists them"
for option in --colour -z; do usage "char i4 $option 1" "unknown option '$option'"; done
usage 'char i4 --hex=1 1' '--hex takes no argument'
usage 'char i4 -s 2147483648 1' "-s: '2147483648' is not a number of 32 bits"
usage 'char char -m 9 --pad-null --pad-blank 1' '--pad-null and --pad-blank exclude each other'
usage 'char char --pad-null 1' 'padding needs --maxlength'
for words in '--check a' a; do usage "--cfg in $words" '--cfg needs either SECTION and KEY or --check'; done
for pair in 'money blob' 'unichar datatype 20' 'unitext datatype 20' 'void textlocator'; do
  row "${pair/datatype } 1" '' 2 '' "vdxconv: there is no conversion from ${pair/ / to }; vdxconv --matrix shows all\n"
done
row 'char i4 -f missing' '' 2 '' 'vdxconv: missing: No such file or directory\n'
row 'char i4 -r no/where 1' '' 2 '' 'vdxconv: no/where: No such file or directory\n'
if [ -n "$wine" ]; then
  echo 'left out: rejects onto standard input: wine cannot tell which file a stream from outside is'
else
  row 'char i4 -r ./in' 'x\n' 2 '' 'vdxconv: ./in: rejects would overwrite the input\n'
fi
row '--help > /dev/full' '' 2 '' 'vdxconv: standard output: No space left on device\n'
row 'char i4 -r /dev/full x' '' 2 '' 'vdxconv: /dev/full: No space left on device\n'
"$vdxconv" char money -q -f "$values" 2> err | true
[ "${PIPESTATUS[0]}" = 2 ] || fail 'a closed pipe is trouble'
[ "$(tail -n 1 err)" = 'vdxconv: standard output: Broken pipe' ] || fail 'a closed pipe is named'

# Configuration files: values as they are, of any length and bytes, and why there are none.
cfg='[a]\nk=1\nk="2\n""x"""\nk=""\n[b]\n[NAMED_APP_DEFAULT]\ninclude=a\nd=\0000\0351 \n'
row '--cfg in a k' "$cfg" 0 '1\n2\n"x"\n\n' ''
hint_check='; --check shows what of the file is lost'
row '--cfg in "b c" k' '[b c]\nk=1\n' 1 '' "vdxconv: in: no section \"b c\"$hint_check\n"
# A byte of a character may look like a bracket, to whoever does not know the character set.
row '--cfg in -c sjis a k' '[a]\nk=\0203\0133 \0203\0135\n' 0 '\0203\0133 \0203\0135\n' ''
printf '[a]\nk = %03000000d\nk = 1\n' 0 > 'long values.cfg'
"$vdxconv" --cfg 'long values.cfg' a k | cmp -s - <(printf '%03000000d\n1\n' 0) || fail 'a long value'
long_name=$(printf %0513d 0)
for what in 'a k' --check; do
  row "--cfg missing $what" '' 1 '' 'vdxconv: missing: No such file or directory\n'
  row "--cfg . $what" '' 1 '' 'vdxconv: .: Is a directory\n'
  row "--cfg $long_name $what" '' 1 '' "vdxconv: $long_name: the name is longer than 512 bytes\n"
  row "--cfg in $what -c klingon" '' 2 '' 'vdxconv: klingon: unknown character set\n'
  row "--cfg in $what > /dev/full" '[a]\nk=1\n[a]\n' 2 '' \
    'vdxconv: standard output: No space left on device\n'
done

# What is lost, in the order of the file.
lost() { row "--cfg in --check $3" "$1" 1 "$2" ''; }
row '--cfg in --check' '; c\n[a]\nk="\n[a]\n"\n[b]\ninclude=a\n;[a]' 0 '' ''
lost '[a]\nk=\\\n\n\n[b\n[c] \033\n[d]\nk="\n\n' 'in:3: syntax error at the end of the line; section "a" is lost
in:5: syntax error at the end of the line; section "a" is lost
in:6: syntax error at "\\x1b"; section "c" is lost
in:8: a quote is not closed; what follows it is lost
in:10: syntax error at the end of the file; section "d" is lost\n' ''
lost '[a]\nk="v" w"\nfoo bar "x\n[b]\nk=v""\n' 'in:3: syntax error at "bar"; section "a" is lost
in:3: a quote is not closed; what follows it is lost\n' ''
lost '[a]\ninclude=b\ninclude = a\n[b]\ninclude=a' 'in:2: include of "b", which is not there above this line; section "a" is lost
in:3: include of "a" in itself; section "a" is lost
in:5: include of "a", which is not there above this line; section "b" is lost\n' ''
# A name is free again when its section is lost, and only then.
lost '[a]\nk\n[a]\n[b]\n[ a ]\n[b]\nk\n[a]\nk="x\ny" [' 'in:2: syntax error at the end of the line; section "a" is lost
in:5: the section of line 3 has the same name; section "a" is lost
in:7: syntax error at the end of the line; section "b" is lost
in:10: syntax error at "["; section "a" is lost\n' ''
lost '[a]\nk=v\n[b]\nk=v\0342\0202' 'in:4: the file ends inside a character; the character is lost\n' '-c utf8'
# Any byte alone on a line is an error, but for a line end, three blanks and a semicolon; a backslash
# takes the next line along, a quote the rest.
for byte in {0..33} {35..255} 34; do printf "\\x$(printf %x "$byte")\n"; done > any.cfg
"$vdxconv" --cfg any.cfg --check > out
[ "$(grep -cE '^any\.cfg:[0-9]+: syntax error at .*; the line is lost$' out)" = 249 ] || fail "any byte: $(cat out)"

# Every byte value, lines longer than a block, and lines that end on every place of a word.
for byte in {0..9} {11..255}; do printf "\\x$(printf %x "$byte")%s\n" x; done > bytes
"$vdxconv" char i4 -q -r rejects < bytes > out 2> err
[ $? = 1 ] && cmp -s bytes rejects && [ "$(wc -l < err)" = 255 ] && [ ! -s out ] ||
  fail 'every byte is rejected as it was'
sizes="1048575 1048576 1 3000000 63 64 65 $(echo {1..200})"
for size in $sizes; do head -c "$size" /dev/zero | tr '\0' ' '; echo "$size"; done > long
"$vdxconv" char i4 -q < long > out
same 'long lines' <(printf '%s\n' $sizes) out
{ tr ' ' y < long; head -c 5000000 /dev/zero; } > letters
"$vdxconv" char i4 -q -r rejects < letters > out 2> err
same 'long lines are rejected as they were' letters rejects
awk 'length > 700' err | grep -q . && fail 'long texts are cut'

# The sample file: made again, and converted from a file, a pipe and standard input alike.
"$make_values" > made
same 'the sample file is what its program makes' "$values" made
grep -aE '[A-Za-z#]|--|\$\$|\..*\.|^1,23,|^9000000000000000000' "$values" > want
"$vdxconv" char money -f "$values" -r rejects > out 2> err
[ $? = 1 ] || fail 'the sample file has failures'
same 'bad lines of the sample file' want rejects
bad_lines=$(wc -l < want)
[ "$bad_lines" -ge 100 ] && [ "$bad_lines" -le 500 ] || fail "the sample file has $bad_lines bad lines"
[ $(($(wc -l < out) + bad_lines)) = 100000 ] || fail 'each line is converted or rejected'
summary="^vdxconv: 100,000 values, 99,$((1000 - bad_lines)) converted, $bad_lines failed, [0-9.,]+( million)? lines/s\$"
tail -n 1 err | grep -qE "$summary" || fail "summary: $(tail -n 1 err)"
cat "$values" | "$vdxconv" char money 2> /dev/null | cmp -s - out || fail 'pipe equals file'
"$vdxconv" char money -q < out | cmp -s - out || fail 'what was converted converts to itself'
"$vdxconv" char money --progress -q -f "$values" 2>&1 > /dev/null | tr '\r' '\n' |
  grep -qE '^\[#{30}\] 100%  100,000 lines  ' || fail 'progress of a file'
cat "$values" | "$vdxconv" char money --progress -q 2>&1 > /dev/null | tr '\r' '\n' |
  grep -qE '^[0-9,]+ lines  ' || fail 'progress of a pipe'

# The dates likewise; each good line is the instant that was drawn for it.
"$make_values" dates > made
same 'the dates are what their program makes' "$dates" made
"$make_values" instants > want
"$vdxconv" char bigdatetime -q --style 140 -f "$dates" -r rejects > out 2> err
same 'dates mean what was meant' want out
bad_lines=$((20000 - $(wc -l < want)))
[ "$bad_lines" -ge 30 ] && [ "$(wc -l < rejects)" = "$bad_lines" ] || fail "the dates have $bad_lines bad lines"
clock='[0-5][0-9]:[0-6][0-9]'
"$vdxconv" --now --date-order ymd --twelve-hour |
  grep -qE "^[0-9]{2}/(0[1-9]|1[0-2])/[0-9]{2} (0[0-9]|1[0-2]):$clock [AP]M\$" || fail 'now of an order'

# What the page on dates says of styles and orders.
sed -n '/^| Style/,/^$/p; /^| Order/,/^$/p' "$project/docs/dates.md" |
  sed 's/<code>&nbsp;/` /g; s/<.code>/`/g' |
  awk -F '|' '
    / year, | year \| / && NF == 5 {
      gsub(/[^a-z, ]/, "", $3); split($3, word, ", ")
      for (i in word) gsub(/ /, "", word[i])
      print "--style 140 --date-order " substr(word[1], 1, 1) substr(word[2], 1, 1) \
        substr(word[3], 1, 1) "\t01/02/03\t" substr($4, 2, 10) " 00:00:00.000000"
    }
    $3 ~ /`/ { for (cell = 2; cell <= 4; cell += 2) {
      text = $(cell + 1); gsub(/^ *`|` *$/, "", text)
      for (i = split($cell, style, ","); i > 0; --i) if (style[i] ~ /[0-9]/)
        print "--style" style[i] "\t2008-01-02 13:05:09.123456\t" text
    } }' > claims
while IFS=$'\t' read -r options text want; do
  [ "$("$vdxconv" char bigdatetime $options "$text" 2>&1)" = "$want" ] || fail "$options: not '$want'"
done < claims
[ "$(wc -l < claims)" = 61 ] || fail "the page makes $(wc -l < claims) claims"

# What README says its command lines show; lines that need a file of the reader are left out.
grep '^    vdxconv ' "$project/README.md" | grep -v -e '--file' -e '--cfg' > claims
while IFS='#' read -r words want; do
  eval "\"\$vdxconv\" ${words#* vdxconv }" > out 2>&1 || fail "README: $words"
  [ "$want" = '' ] || [ "$(cat out)" = "${want# }" ] || fail "README: $words: $(cat out), not$want"
done < claims
[ "$(wc -l < claims)" -ge 4 ] || fail 'README shows the tool'

# A reader of a pipe sees results while the writer thinks.
{ echo 1; for _ in {1..50}; do [ -s seen ] && break; sleep 0.1; done; [ -s seen ] && echo 2; } |
  "$vdxconv" char i4 -q > seen
printf '1\n2\n' | cmp -s - seen || fail 'results of a pipe come at once'

# Listings, help and manual.
"$vdxconv" --matrix > out
cells=$(grep -aE '^[-a-z0-9]+ +[0-9]+( [x.]){40}$' out | grep -o ' x' | wc -l)
grep -qx "$cells of 1600 pairs have a conversion." out || fail 'the matrix counts its cells'
grep -qE '^i4 +8 x' out && ! grep -E '^(blob|-) ' out | grep -q x || fail 'cells of the matrix'
"$vdxconv" --types > types
[ "$(grep -cE '^ +[0-9]+  [-a-z0-9]+ +([0-9]+|var)  [A-Za-z0-9]' types)" = 40 ] || fail 'forty datatypes'
grep -q '17  decimal             35  ' types || fail 'types: decimal'
"$vdxconv" --help > help
cat help out types | awk 'length > 100' | grep . && fail 'wider than 100 columns'
for option in $(grep -oE '^ +(-[a-zA-Z], )?--[a-z-]+' help | grep -oE -- '--[a-z-]+'); do
  sed 's/\\-/-/g' "$project/docs/vdxconv.1" | grep -q -e "$option" || fail "manual lacks $option"
done
"$vdxconv" -V | grep -qE '^vdxconv [0-9]+\.[0-9]+\.[0-9]+$' || fail 'version'
if command -v groff > /dev/null; then
  groff -t -man -Tutf8 -ww "$project/docs/vdxconv.1" 2>&1 > /dev/null | grep . && fail 'manual warns'
fi

[ $failures = 0 ] && echo "all passed"
exit $((failures != 0))
