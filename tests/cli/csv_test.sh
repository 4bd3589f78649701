#!/usr/bin/env bash
# The CSV that `qorcalc report` reads and writes, run as a user runs it:
# small files with every shape of record, and the same records moved
# byte by byte across the reader's 64 KiB buffer boundary, which must not
# change a single byte of the output or the line an error names.
#   csv_test.sh QORCALC
set -u
Q=$1
W=$(mktemp -d)
trap 'rm -rf "$W"' EXIT
export LC_ALL=C.UTF-8 LANG= LC_MESSAGES=
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

printf 'n = len(b)\n' >"$W/len.f"
BUFFER=65536

# check NAME CSV-FILE STATUS WANT-STDOUT STDERR-PATTERN
check() {
    local name=$1 csv=$2 status=$3 want=$4 pattern=$5 rc
    "$Q" report --csv "$csv" "$W/len.f" >"$W/out" 2>"$W/err"
    rc=$?
    [ "$rc" = "$status" ] || fail "$name: exit $rc, wanted $status; stderr: $(cat "$W/err")"
    printf '%s' "$want" | cmp -s - "$W/out" || fail "$name: printed [$(od -c "$W/out" | head -5)], wanted [$want]"
    [ -z "$pattern" ] || grep -q -- "$pattern" "$W/err" || fail "$name: stderr [$(cat "$W/err")] lacks [$pattern]"
}

# Whole files: name, bytes (printf format), exit status, output, stderr.
small=(
    "plain|a,b\n1,xy\n|0|a,b,n\n1,xy,2\n|"
    "no final line end|a,b\n1,xy|0|a,b,n\n1,xy,2\n|"
    "CRLF|a,b\r\n1,xy\r\n2,z\r\n|0|a,b,n\n1,xy,2\n2,z,1\n|"
    "byte-order mark|\xef\xbb\xbfa,b\n1,xy\n|0|a,b,n\n1,xy,2\n|"
    "empty lines|a,b\n\n1,xy\n\r\n\n2,z\n\n|0|a,b,n\n1,xy,2\n2,z,1\n|"
    "lone CR is data|a,b\n1,x\ry\n|0|a,b,n\n1,\"x\ry\",3\n|"
    "lone CR at the end|a,b\n1,xy\r|0|a,b,n\n1,\"xy\r\",3\n|"
    "quotes doubled|a,b\n1,\"say \"\"hi\"\"\"\n|0|a,b,n\n1,\"say \"\"hi\"\"\",8\n|"
    "text after a closing quote|a,b\n1,\"x\"y\n|0|a,b,n\n1,xy,2\n|"
    "quote inside a field|a,b\n1,x\"y\n|0|a,b,n\n1,\"x\"\"y\",3\n|"
    "empty first cells keep their commas|a,b\n,\n,xy\n|0|a,b,n\n,,0\n,xy,2\n|"
    "empty first name|,b\n1,xy\n|0|,b,n\n1,xy,2\n|"
    "quoted line break counts a line|a,b\n1,\"x\ny\"\n2\n|1|a,b,n\n1,\"x\ny\",3\n|line 4: 1 fields where"
    "open quote|a,b\n1,xy\n2,\"z\n|1|a,b,n\n1,xy,2\n|line 3: a quoted field is never closed"
    "bad UTF-8 after a good record|a,b\n1,\xc3\xa9\n2,\xc3\n|1|a,b,n\n1,\xc3\xa9,1\n|line 3: the text is not valid UTF-8"
)
for row in "${small[@]}"; do
    IFS='|' read -r name bytes status want pattern <<<"$row"
    printf "$bytes" >"$W/small.csv"
    check "$name" "$W/small.csv" "$status" "$(printf "$want")"$'\n' "$pattern"
done

# Records across a buffer boundary: name, records (printf format), exit
# status, their output, stderr.  A header and one padding record come first,
# of a length that puts each byte of the records in turn first in the second
# buffer; the padding's line is left out of the comparison.
across=(
    "plain and quoted|x,hello\nx,\"a,\"\"b\"\"\"\nx,\"one\ntwo\"\nx,\xe7\x8e\x8b\xc3\xa9\n|0|x,hello,5\nx,\"a,\"\"b\"\"\",5\nx,\"one\ntwo\",7\nx,\xe7\x8e\x8b\xc3\xa9,2\n|"
    "line ends|x,crlf\r\n\r\nx,\"p\r\nq\"\r\nx,a\rb\n\nx,end|0|x,crlf,4\nx,\"p\r\nq\",4\nx,\"a\rb\",3\nx,end,3\n|"
    "quoted lines then ragged|x,\"1\n2\n3\"\nragged\n|1|x,\"1\n2\n3\",5\n|line 6: 1 fields where"
    "open quote|x,\"never closed\n|1||line 3: a quoted field is never closed"
    "bad UTF-8|x,\xe7\x8e\n|1||line 3: the text is not valid UTF-8"
)
for row in "${across[@]}"; do
    IFS='|' read -r name bytes status want pattern <<<"$row"
    printf "$bytes" >"$W/body"
    want=$(printf "a,b,n\n$want")$'\n'
    size=$(stat -c %s "$W/body")
    for ((first = 0; first <= size; ++first)); do
        # "a,b\n" and "pad," + p... + "\n" end where the records begin.
        { printf 'a,b\npad,'; head -c $((BUFFER - 9 - first)) /dev/zero | tr '\0' p; printf '\n'; cat "$W/body"; } >"$W/across.csv"
        "$Q" report --csv "$W/across.csv" "$W/len.f" >"$W/raw" 2>"$W/err"
        rc=$?
        sed '2d' "$W/raw" >"$W/out"
        before=$failures
        [ "$rc" = "$status" ] || fail "$name, byte $first first in a buffer: exit $rc, wanted $status"
        printf '%s' "$want" | cmp -s - "$W/out" ||
            fail "$name, byte $first first in a buffer: printed [$(od -c "$W/out" | head -5)]"
        [ -z "$pattern" ] || grep -q -- "$pattern" "$W/err" || fail "$name, byte $first first in a buffer: stderr [$(cat "$W/err")]"
        [ $failures = "$before" ] || break  # one failing position says enough
    done
done

# Fields longer than a whole buffer, plain and quoted.
for quote in '' '"'; do
    { printf 'a,b\n1,%s' "$quote"; head -c $((3 * BUFFER + 5)) /dev/zero | tr '\0' y; printf '%s\n2,z\n' "$quote"; } >"$W/long.csv"
    "$Q" report --csv "$W/long.csv" "$W/len.f" >"$W/out" 2>"$W/err" || fail "long field ${quote:-un}quoted: $(cat "$W/err")"
    [ "$(cut -d, -f3 "$W/out" | tr '\n' ' ')" = "n $((3 * BUFFER + 5)) 1 " ] ||
        fail "long field ${quote:-un}quoted: lengths $(cut -d, -f3 "$W/out" | tr '\n' ' ')"
done

[ $failures = 0 ] && echo "all passed"
exit $((failures > 0))
