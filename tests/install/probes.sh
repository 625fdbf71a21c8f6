#!/bin/sh
# A debugger stops at the static probes of a live process: those of calls from outside, also of calls within a function of
# a client, with handles, statuses and texts; not those of operations that others use.
#   probes.sh GDB HOST         HOST is the program of probed.c
set -eu
export LC_ALL=C HOME=/nonexistent
gdb=$1 host=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

#   at PROBE FORMAT [VALUE]    prints the value whenever the process passes the probe
at() {
  cat <<END
break -probe-stap zar:$1
commands
silent
printf "$1 $2\\n"${3:+, $3}
continue
end
END
}
{
  echo "break main"
  echo "run"
  at zar_store_policy__begin 0x%x '$_probe_arg0'
  at zar_store_policy__end %u '$_probe_arg0'
  at zar_get_action_nvgen_str__begin 0x%x '$_probe_arg0'
  at zar_get_action_nvgen_str__end %u '$_probe_arg0'
  at zar_display_clients__begin .
  at zar_display_clients__end .
  at zar_verify_action_content__begin .
  at zar_get_pmap_name__begin 0x%x '$_probe_arg0'
  at zar_get_pmap_name__end %s '(char *) $_probe_arg0'
  echo "continue"
} >"$scratch/commands"
"$gdb" -nx -batch -iex "set debuginfod enabled off" -x "$scratch/commands" "$host" >"$scratch/output" 2>&1 || true
grep -E '^zar_[a-z_]*__(begin|end) ' "$scratch/output" >"$scratch/passed" || true

# zar_create_action also uses zar_verify_action_content.
diff -u - "$scratch/passed" <<'END' || { cat "$scratch/output" >&2; exit 1; }
zar_store_policy__begin 0x1
zar_store_policy__end 0
zar_store_policy__begin 0xdead
zar_store_policy__end 39
zar_get_action_nvgen_str__begin 0x2
zar_display_clients__begin .
zar_display_clients__end .
zar_get_action_nvgen_str__end 0
zar_get_pmap_name__begin 0x1
zar_get_pmap_name__end guest-access
END
