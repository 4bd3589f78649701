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

# Cases: name, header line and records (printf formats), exit status,
# output (header included), stderr.  Each case runs with one padding record
# between the header and the records: a short one, then ones of the lengths
# that put each byte of the records in turn first in the second buffer.  The
# padding's line is left out of the comparison.
cases=(
    "plain|a,b\n|1,xy\n|0|a,b,n\n1,xy,2\n|"
    "no final line end|a,b\n|1,xy|0|a,b,n\n1,xy,2\n|"
    "CRLF|a,b\r\n|1,xy\r\n\r\n2,z\r\n|0|a,b,n\n1,xy,2\n2,z,1\n|"
    "byte-order mark|\xef\xbb\xbfa,b\n|1,xy\n|0|a,b,n\n1,xy,2\n|"
    "empty lines|a,b\n|\n1,xy\n\r\n\n2,z\n\n|0|a,b,n\n1,xy,2\n2,z,1\n|"
    "lone CR is data|a,b\n|1,x\ry\n|0|a,b,n\n1,\"x\ry\",3\n|"
    "lone CR at the end|a,b\n|1,xy\r|0|a,b,n\n1,\"xy\r\",3\n|"
    "quoted|a,b\n|x,\"a,\"\"b\"\"\"\nx,\"p\r\nq\"\r\nx,\"one\ntwo\"\n|0|a,b,n\nx,\"a,\"\"b\"\"\",5\nx,\"p\r\nq\",4\nx,\"one\ntwo\",7\n|"
    "text after a closing quote|a,b\n|1,\"x\"y\n|0|a,b,n\n1,xy,2\n|"
    "quote inside a field|a,b\n|1,x\"y\n|0|a,b,n\n1,\"x\"\"y\",3\n|"
    "multibyte characters|a,b\n|1,\xe7\x8e\x8b\xc3\xa9\n|0|a,b,n\n1,\xe7\x8e\x8b\xc3\xa9,2\n|"
    "empty first cells keep their commas|a,b\n|,\n,xy\n|0|a,b,n\n,,0\n,xy,2\n|"
    "empty first name|,b\n|1,xy\n|0|,b,n\n1,xy,2\n|"
    "quoted line breaks count lines|a,b\n|1,\"x\n2\n3\"\n2\n|1|a,b,n\n1,\"x\n2\n3\",5\n|line 6: 1 fields where"
    "open quote|a,b\n|1,xy\n2,\"z\n|1|a,b,n\n1,xy,2\n|line 4: a quoted field is never closed"
    "bad UTF-8 after a good record|a,b\n|1,\xc3\xa9\n2,\xe7\x8e\n|1|a,b,n\n1,\xc3\xa9,1\n|line 4: the text is not valid UTF-8"
)
for row in "${cases[@]}"; do
    IFS='|' read -r name head records status want pattern <<<"$row"
    printf "$head" >"$W/head"
    printf "$records" >"$W/records"
    want=$(printf "$want")$'\n'
    ahead=$(($(stat -c %s "$W/head") + 5))  # the header and the padding's "pad," and line end
    pads=(1)
    for ((first = 0; first <= $(stat -c %s "$W/records"); ++first)); do pads+=($((BUFFER - ahead - first))); done
    for pad in "${pads[@]}"; do
        where="$pad bytes of padding"
        { cat "$W/head"; printf 'pad,'; head -c "$pad" /dev/zero | tr '\0' p; printf '\n'; cat "$W/records"; } >"$W/in.csv"
        "$Q" report --csv "$W/in.csv" "$W/len.f" >"$W/raw" 2>"$W/err"
        rc=$?
        sed '2d' "$W/raw" >"$W/out"
        before=$failures
        [ "$rc" = "$status" ] || fail "$name, $where: exit $rc, wanted $status; stderr: $(cat "$W/err")"
        printf '%s' "$want" | cmp -s - "$W/out" || fail "$name, $where: printed [$(od -c "$W/out" | head -5)]"
        [ -z "$pattern" ] || grep -q -- "$pattern" "$W/err" || fail "$name, $where: stderr [$(cat "$W/err")] lacks [$pattern]"
        [ $failures = "$before" ] || break  # one failing placement says enough
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
