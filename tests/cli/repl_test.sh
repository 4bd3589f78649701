#!/usr/bin/env bash
# Drives `qorcalc repl` in a real terminal (tmux): typing, editing the line,
# recalling history, the caret under an error, commands; and `qorcalc
# report` into a terminal narrower than its table.
#   repl_test.sh QORCALC
set -u
Q=$1
W=$(mktemp -d)
S=qorcalc-repl-$$
trap 'tmux kill-session -t "$S" 2>/dev/null; tmux kill-session -t "$S-table" 2>/dev/null; rm -rf "$W"' EXIT
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

tmux new-session -d -s "$S" -x 120 -y 50 "env HOME=$W LC_ALL=C.UTF-8 $Q repl --lang en"
screen() { tmux capture-pane -p -t "$S"; }
# Waits until the screen shows `pattern` (a fixed string).
wait_for() {
    for _ in $(seq 1 50); do
        screen | grep -qF -- "$1" && return 0
        sleep 0.1
    done
    fail "never saw [$1]; screen:"
    screen
    return 1
}
type_line() { tmux send-keys -t "$S" -l -- "$1"; tmux send-keys -t "$S" Enter; }

wait_for 'qorcalc>'
type_line '6*7'
wait_for '42'
# Edit: type 2*3, take the 3 back, type 4.
tmux send-keys -t "$S" -l '2*3'
tmux send-keys -t "$S" BSpace
tmux send-keys -t "$S" -l '4'
tmux send-keys -t "$S" Enter
wait_for '8'
# Move left over a character and insert before it: 1+5 becomes 1+95.
tmux send-keys -t "$S" -l '1+5'
tmux send-keys -t "$S" Left
tmux send-keys -t "$S" -l '9'
tmux send-keys -t "$S" Enter
wait_for '96'
# History: Up twice recalls 2*4.
tmux send-keys -t "$S" Up Up Enter
for _ in $(seq 1 30); do [ "$(screen | grep -c '^8$')" -ge 2 ] && break; sleep 0.1; done
[ "$(screen | grep -c '^8$')" -ge 2 ] || fail "history: Up Up Enter should calculate 2*4 again"
type_line ':set price = 2.5'
type_line 'price * 4'
wait_for '10'
type_line ':vars'
wait_for 'price = 2.5'
type_line 'round(1, 2) + (3'
wait_for 'error 1070'
# The caret stands under the bracket: "  " + 14 characters before it.
screen | grep -qx '                ^' || { fail "caret not under the bracket:"; screen; }
type_line ':tree sum(a, 2)'
wait_for 'function sum'
type_line ':lang zh'
wait_for '语言：zh'
type_line 'nobody'
wait_for '未知名称 nobody'
type_line ':quit'
for _ in $(seq 1 30); do tmux has-session -t "$S" 2>/dev/null || break; sleep 0.1; done
tmux has-session -t "$S" 2>/dev/null && fail ":quit should end the session"
grep -q '6\*7' "$W/.qorcalc_history" || fail "history should be kept in ~/.qorcalc_history"

# A report into a terminal 60 columns wide, with no COLUMNS to tell: the
# table is narrowed to the terminal, as the reviewed 60-column table.
D=$(dirname "$0")
tmux new-session -d -s "$S-table" -x 60 -y 20 \
    "env -u COLUMNS LC_ALL=C.UTF-8 $Q report $D/data/orders.csv $D/data/orders.formulas 2>/dev/null; sleep 30"
for _ in $(seq 1 50); do tmux capture-pane -p -t "$S-table" | grep -q '^Odd' && break; sleep 0.1; done
tmux capture-pane -p -t "$S-table" | head -5 | sed 's/ *$//' >"$W/table"
sed 's/ *$//' "$D/expected/orders.table60" | cmp -s - "$W/table" ||
    fail "report in a 60-column terminal: $(diff "$W/table" "$D/expected/orders.table60" | head -5)"

[ $failures = 0 ] && echo "all passed"
exit $((failures > 0))
