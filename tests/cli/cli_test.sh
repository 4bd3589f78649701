#!/usr/bin/env bash
# Runs the qorcalc tool as a user does and compares what it prints.
#   cli_test.sh QORCALC TESTS_DIR
set -u
Q=$1
T=$2
D=$T/data
W=$(mktemp -d)
trap 'rm -rf "$W"' EXIT
export LC_ALL=C.UTF-8 LANG= LC_MESSAGES=
unset COLUMNS  # the reviewed tables are whole whatever terminal runs the tests
failures=0

fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
# expect NAME STATUS EXPECTED-STDOUT -- COMMAND...
expect() {
    local name=$1 status=$2 want=$3
    shift 4
    local got rc
    got=$("$@" 2>"$W/stderr")
    rc=$?
    [ "$rc" = "$status" ] || fail "$name: exit $rc, wanted $status; stderr: $(cat "$W/stderr")"
    [ "$got" = "$want" ] || fail "$name: printed [$got], wanted [$want]"
}
# expect_err NAME STATUS STDERR-PATTERN -- COMMAND...
expect_err() {
    local name=$1 status=$2 pattern=$3
    shift 4
    "$@" >/dev/null 2>"$W/stderr"
    local rc=$?
    [ "$rc" = "$status" ] || fail "$name: exit $rc, wanted $status"
    grep -q -- "$pattern" "$W/stderr" || fail "$name: stderr [$(cat "$W/stderr")] lacks [$pattern]"
}

# eval, plain: value texts unquoted, names from --var as written.
expect eval-plain 0 $'3\nhi\n42\n23\nab' -- "$Q" eval "1+2" "'hi'" "x*2" "y*2" "js('return arguments[0]+arguments[1]', 'a', 'b')" \
    --var x=21 --var Y=x+1
expect eval-format 0 '1,234.500' -- "$Q" eval --format 0x83 "1234.5"
expect eval-json 1 '{"formula": "1+2", "ok": true, "value": "3", "kind": "number"}
{"formula": "'"'a'"'", "ok": true, "value": "a", "kind": "text"}
{"formula": "1+(2", "ok": false, "error": {"id": 1070, "position": 2, "message": "Brackets do not match in “1+(2”, or are nested deeper than 1024 levels."}}
{"formula": "nosuch(1)", "ok": false, "error": {"id": 2001, "position": -1, "message": "unknown function nosuch"}}
{"formula": "who", "ok": false, "error": {"id": 2000, "position": -1, "message": "unknown name who: it has no value"}}
{"formula": "a", "ok": false, "error": {"id": 2002, "position": -1, "message": "a refers to itself: a -> b -> a"}}' \
    -- "$Q" eval --json "1+2" "'a'" "1+(2" "nosuch(1)" "who" "a" --var a=b+1 --var b=a
expect_err eval-failure-plain 1 'who: error 2000: unknown name who' -- "$Q" eval "who"
expect_err eval-bad-utf8 1 'error 2005' -- "$Q" eval $'\xff+1'
expect_err eval-zh 1 '未知名称 who' -- "$Q" eval --lang zh who
LANG=zh_CN.UTF-8 LC_ALL= "$Q" eval who 2>"$W/zh"; grep -q '未知名称' "$W/zh" || fail "eval: a zh_CN locale should give Chinese messages"
expect_err usage-no-formula 2 'usage error' -- "$Q" eval
expect_err usage-bad-var 2 'NAME=VALUE' -- "$Q" eval --var novalue 1
expect_err usage-bad-lang 2 'not a language' -- "$Q" eval --lang fr 1
expect_err usage-no-command 2 'usage' -- "$Q"

# report in every form against reviewed output.
for form in csv jsonl table; do
    flag=--$form; [ $form = jsonl ] && flag=--json
    "$Q" report "$D/orders.csv" "$D/orders.formulas" $flag >"$W/out" 2>"$W/stderr"
    [ $? = 1 ] || fail "report $flag: a failing cell should give exit 1"
    cmp -s "$W/out" "$T/expected/orders.$form" || fail "report $flag: output differs: $(diff "$W/out" "$T/expected/orders.$form" | head -5)"
    grep -q '2 of 9 calculated cells failed' "$W/stderr" || fail "report $flag: no summary on stderr"
done
# A table wider than the terminal is narrowed to fit, its cut cells marked
# and counted; a terminal wide enough, or another form, changes nothing.
COLUMNS=60 "$Q" report "$D/orders.csv" "$D/orders.formulas" --table >"$W/out" 2>"$W/stderr"
cmp -s "$W/out" "$T/expected/orders.table60" || fail "report --table in 60 columns: $(diff "$W/out" "$T/expected/orders.table60" | head -5)"
[ "$(wc -L <"$W/out")" -le 60 ] || fail "report --table in 60 columns: a line is $(wc -L <"$W/out") columns wide"
grep -q '8 cells were cut to fit 60 columns; --csv' "$W/stderr" || fail "report --table: no note of the cut cells: $(head -1 "$W/stderr")"
# Narrower than six columns a value, the table is shown a record at a time.
COLUMNS=40 "$Q" report "$D/orders.csv" "$D/orders.formulas" --table >"$W/out" 2>"$W/stderr"
cmp -s "$W/out" "$T/expected/orders.records40" || fail "report --table in 40 columns: $(diff "$W/out" "$T/expected/orders.records40" | head -5)"
[ "$(wc -L <"$W/out")" -le 40 ] || fail "report --table in 40 columns: a line is $(wc -L <"$W/out") columns wide"
grep -q '2 cells were cut to fit 40 columns' "$W/stderr" || fail "report records: no note of the cut cells: $(head -1 "$W/stderr")"
COLUMNS=1000 "$Q" report "$D/orders.csv" "$D/orders.formulas" --table >"$W/out" 2>"$W/stderr"
cmp -s "$W/out" "$T/expected/orders.table" || fail "report --table in 1000 columns should be the whole table"
grep -q 'were cut' "$W/stderr" && fail "report --table in 1000 columns: nothing is cut"
COLUMNS=20 "$Q" report "$D/orders.csv" "$D/orders.formulas" --csv >"$W/out" 2>/dev/null
cmp -s "$W/out" "$T/expected/orders.csv" || fail "report --csv: COLUMNS must not change CSV"
"$Q" report "$D/orders.csv" "$D/orders.formulas" >"$W/default" 2>/dev/null
cmp -s "$W/default" "$T/expected/orders.csv" || fail "report: CSV is the default when stdout is no terminal"

# --jobs 2 writes exactly what --jobs 1 writes, on enough records for many batches.
{
    echo 'id,qty,price,name'
    for i in $(seq 1 3000); do echo "$i,$((i % 17)),$((i % 7)).25,\"n, $i\""; done
} >"$W/big.csv"
printf 'total = round(qty * price, 1)\nlabel = name + "/" + total\ncheck = if(total > 50, "big", "small")\nbad = if(mod(id, 1000) = 0, sqrt(-1), 1)\n' >"$W/big.f"
"$Q" report "$W/big.csv" "$W/big.f" --jobs 1 >"$W/j1" 2>"$W/e1"
"$Q" report "$W/big.csv" "$W/big.f" --jobs 2 >"$W/j2" 2>"$W/e2"
[ "$(wc -l <"$W/j1")" = 3001 ] || fail "report --jobs 1: $(wc -l <"$W/j1") lines, wanted 3001"
cmp -s "$W/j1" "$W/j2" || fail "report: --jobs 2 output differs from --jobs 1"
cmp -s "$W/e1" "$W/e2" || fail "report: --jobs 2 summary differs from --jobs 1"
grep -q '3 of 12000' "$W/e1" || fail "report: the summary should count 3 failures: $(cat "$W/e1")"

# Bad input names its culprit.
expect_err missing-data 1 'cannot open /nonexistent.csv' -- "$Q" report /nonexistent.csv "$D/orders.formulas"
expect_err missing-formulas 1 'cannot open /nonexistent.f' -- "$Q" report "$D/orders.csv" /nonexistent.f
: >"$W/empty.csv"
expect_err empty-csv 1 'is empty' -- "$Q" report "$W/empty.csv" "$D/orders.formulas"
printf 'a,b\n1,2\n3\n' >"$W/ragged.csv"
expect_err ragged-csv 1 'line 3: 1 fields where the header has 2' -- "$Q" report "$W/ragged.csv" "$D/orders.formulas"
printf 'a,b\n1,"2\n' >"$W/open.csv"
expect_err open-quote 1 'line 2: a quoted field is never closed' -- "$Q" report "$W/open.csv" "$D/orders.formulas"
printf 'a,b\n1,\xff\n' >"$W/bytes.csv"
expect_err csv-bad-utf8 1 'line 2: the text is not valid UTF-8' -- "$Q" report "$W/bytes.csv" "$D/orders.formulas"
printf 'a,b\n1,2\n' >"$W/ok.csv"
printf '# note\n\nx = a + b\ny = (a\n' >"$W/syntax.f"
expect_err formula-syntax 1 'syntax.f line 4, column 5: Brackets' -- "$Q" report "$W/ok.csv" "$W/syntax.f"
printf 'x a + b\n' >"$W/noeq.f"
expect_err formula-no-equals 1 'noeq.f line 1, column 3: expected' -- "$Q" report "$W/ok.csv" "$W/noeq.f"
printf 'A = 1\n' >"$W/dup.f"
expect_err formula-duplicate 1 'the column A is already defined' -- "$Q" report "$W/ok.csv" "$W/dup.f"
printf 'x = b + nosuch(a)\ny = ghost\n' >"$W/unknown.f"
"$Q" report "$W/ok.csv" "$W/unknown.f" >"$W/out" 2>&1
grep -q 'unknown function nosuch' "$W/out" || fail "report: an unknown function should be named"
grep -q 'unknown name ghost' "$W/out" || fail "report: an unknown name should be named"
printf 'later = x\nx = 1\n' >"$W/order.f"
"$Q" report "$W/ok.csv" "$W/order.f" >"$W/out" 2>&1
grep -q 'unknown name x' "$W/out" || fail "report: a column is no name for the columns before it"

# funcs in both languages.
"$Q" funcs math >"$W/en" || fail "funcs math failed"
grep -q '^# Mathematics' "$W/en" && grep -q '^    round(' "$W/en" || fail "funcs math: $(head -3 "$W/en")"
grep -q '^if$' "$W/en" && fail "funcs math: lists a logic function"
"$Q" funcs --lang zh 文本 >"$W/zh" || fail "funcs 文本 failed"
grep -q '^# 文本' "$W/zh" && grep -q '^left$' "$W/zh" || fail "funcs zh: $(head -3 "$W/zh")"
[ "$("$Q" funcs | grep -c '^[a-zA-Z][a-zA-Z0-9]*$')" = 66 ] || fail "funcs: every one of the 66 built-ins should be listed"
expect_err funcs-unknown 1 'unknown category' -- "$Q" funcs nosuch

[ $failures = 0 ] && echo "all passed"
exit $((failures > 0))
