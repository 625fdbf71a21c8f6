# Sourced by the commands in this folder. shellcheck shell=sh

# Runs a long command so that its user sees that it is still running and, if it fails, why.
#   announced WHAT COMMAND [ARGUMENT ...]
# On a terminal its output is shown immediately. Elsewhere it prints a progress line from time to time, and the output
# if the command fails. All of this goes to standard error.
announced() {
  announced_what=$1
  shift
  if [ -t 2 ]; then
    echo "$announced_what" >&2
    "$@" >&2
    return
  fi
  announced_log=$(mktemp)
  "$@" >"$announced_log" 2>&1 &
  announced_pid=$!
  trap 'kill "$announced_pid" 2>/dev/null; rm -f "$announced_log"; exit 130' INT TERM
  show_progress
  announced_status=0
  wait "$announced_pid" || announced_status=$?
  trap - INT TERM
  if [ "$announced_status" -ne 0 ]; then
    cat "$announced_log" >&2
    echo "$announced_what: failed with status $announced_status" >&2
  fi
  rm -f "$announced_log"
  return "$announced_status"
}

# A line at the beginning and one every 30 seconds, with ninja's count of steps if there is one.
show_progress() {
  echo "$announced_what" >&2
  announced_seconds=0
  while kill -0 "$announced_pid" 2>/dev/null; do
    sleep 1
    announced_seconds=$((announced_seconds + 1))
    if [ $((announced_seconds % 30)) -eq 0 ]; then
      echo "$announced_what: $announced_seconds s $(grep -o '^\[[0-9]*/[0-9]*\]' "$announced_log" | tail -n 1)" >&2
    fi
  done
}
