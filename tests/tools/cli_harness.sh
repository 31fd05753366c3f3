# What the command-line tests share, sourced after they set $velkport, $phone
# (the velkport-phone program) and $work (a scratch directory of their own):
# failures counted in $failures, velkport-phone started and stopped in the
# background, and the scratch directory removed at the end.
phone_pid=
failures=0

finish() {
    [ -n "$phone_pid" ] && kill "$phone_pid" 2>/dev/null && wait "$phone_pid" 2>/dev/null
    rm -rf "$work"
}
trap finish EXIT

fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}

# Starts velkport-phone with the given options; its device lands in $device.
start_phone() {
    # Emptied here, before the phone starts: its own redirection may come
    # after the first look, which would then read the last phone's device.
    : >"$work/phone-out"
    "$phone" "$@" >"$work/phone-out" 2>"$work/phone-err" &
    phone_pid=$!
    device=
    for _ in $(seq 100); do
        device=$(head -n 1 "$work/phone-out" 2>/dev/null)
        [ -n "$device" ] && return 0
        sleep 0.05
    done
    fail "velkport-phone $* printed no device: $(cat "$work/phone-err")"
    exit 1
}

# expect_exit CODE ARGS...: velkport ARGS must exit with CODE; standard
# output in $work/out, standard error in $work/err.
expect_exit() {
    local want=$1
    shift
    "$velkport" "$@" >"$work/out" 2>"$work/err"
    local got=$?
    [ "$got" -eq "$want" ] || fail "velkport $* exited $got, not $want: $(cat "$work/err")"
}

# on_phone CODE ARGS...: the same for velkport --device $device ARGS.
on_phone() {
    local want=$1
    shift
    expect_exit "$want" --device "$device" "$@"
}

stop_phone() {
    kill "$phone_pid" && wait "$phone_pid"
    phone_pid=
}
