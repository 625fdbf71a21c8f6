#!/bin/sh
# The checks in scripts/ fail if what they run fails, and if they had nothing to check. Stubs stand in for the compilers,
# valgrind and the test programs.
#   checks_fail.sh PROJECT
set -eu
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cp -r "$1/scripts" "$scratch/scripts"
cd "$scratch"
mkdir stubs
PATH=$scratch/stubs:$PATH

#   stub PROGRAM COMMANDS
stub() {
  mkdir -p "$(dirname "$1")"
  printf '#!/bin/sh\n%s\n' "$2" >"$1"
  chmod +x "$1"
}
#   ends STATUS TEXT COMMAND...    the command ends with the status, and its output contains the text
ends() {
  expected=$1 text=$2 status=0
  shift 2
  "$@" >report 2>&1 || status=$?
  if [ "$status" -ne "$expected" ] || ! grep -q "$text" report; then
    echo "'$*' ends with $status, not $expected, or does not print '$text', but:" >&2
    cat report >&2
    exit 1
  fi
}

# ---- Outside a checkout, and in an empty one, there are no sources

export GIT_CEILING_DIRECTORIES="${scratch%/*}"
have_nothing_to_check() {
  ends 1 'there are no sources here to check' scripts/check-format
  ends 1 'there are no sources here to check' scripts/check-cppcheck
  ends 1 'there are no sources here to check' scripts/check-tidy
}
have_nothing_to_check
git init --quiet
have_nothing_to_check

# ---- memcheck

stub stubs/valgrind '
while [ "${1#--}" != "$1" ]; do shift; done
case $1 in
  *_faulty) exit 99 ;;
esac
exec "$@"'
stub build/bin/core_good 'echo "[       OK ] Suite.Test"'
ends 0 '^1 programs under memcheck without a finding, 1 tests' scripts/memcheck build
stub build/bin/core_failing 'exit 1'
ends 1 '^core_failing: memcheck has found something' scripts/memcheck build
ends 1 '^core_failing: memcheck has found something' scripts/memcheck build 60 core_good core_failing
mv build/bin/core_failing build/bin/core_faulty
ends 1 '^core_faulty: memcheck has found something' scripts/memcheck build
rm build/bin/core_faulty
ends 3 '^no program was run to its end' scripts/memcheck build 0
rm build/bin/core_good
ends 1 '^there are no tests in build/bin' scripts/memcheck build

# ---- The nightly steps, with a clock that advances by 30 s whenever it is read

stub stubs/date 'now=$(($(cat clock) + 30)) && echo "$now" | tee clock'
echo 1000 >clock
stub stubs/cmake ''
stub scripts/setup ''
walk=build/nightly/clang-O3/bin/model_walk
other_walk=build/nightly/gcc-O0/bin/model_walk

ends 2 'there is no step' scripts/nightly 9 walks

stub $walk 'echo "50000000 steps beside the model"'
ends 0 '^[1-9][0-9]*0000000 steps beside the model' scripts/nightly 9 model
stub $walk ''
ends 1 '^== model was not run' scripts/nightly 9 model
stub $walk 'echo "50000000 steps beside the model"; exit 1'
ends 1 '^== model has found something' scripts/nightly 9 model

stub $walk 'echo the same'
cp $walk $other_walk 2>/dev/null || stub $other_walk 'echo the same'
ends 0 'bytes of trace are the same' scripts/nightly 9 traces
stub $other_walk 'echo another'
ends 1 '^the builds differ' scripts/nightly 9 traces
stub $walk 'echo the same failure; exit 1'
stub $other_walk 'echo the same failure; exit 1'
ends 1 '^a walk fails' scripts/nightly 9 traces

faults=build/nightly/clang-O3/bin/faults_every_call
stub $faults 'echo "10 fault points, 20 pairs, in 5 operations"'
ends 0 'pairs of faults, the last seed' scripts/nightly 9 pairs
stub $faults 'echo "10 fault points, 0 pairs, in 5 operations"'
ends 1 '^== pairs was not run' scripts/nightly 9 pairs

fuzzer=build/nightly/fuzz/bin/fuzz_calls
stub $fuzzer 'echo "stat::number_of_executed_units: 7"'
ends 0 '^fuzz_calls: [1-9][0-9]* executions' scripts/nightly 9 fuzz_calls
stub $fuzzer 'exit 77'
ends 1 '^== fuzz_calls has found something' scripts/nightly 9 fuzz_calls
stub $fuzzer ''
ends 1 '^== fuzz_calls was not run' scripts/nightly 9 fuzz_calls

# A step that runs another script fails with it.
for step in costs fresh_12 fresh_13; do
  stub "scripts/${step%_*}" 'exit 1'
  ends 1 "^== $step has found something" scripts/nightly 9 $step
done
stub scripts/mutate 'echo "that is less than 98"; exit 1'
ends 1 '^== mutants has found something' scripts/nightly 9 mutants
stub scripts/check-tidy 'exit 1'
ends 1 '^== tidy has found something' scripts/nightly 9 tidy
stub scripts/memcheck 'exit 3'
ends 1 '^== memcheck was not run' scripts/nightly 9 memcheck

# A step that runs to its end is not run again with --resume, if it has passed on the same sources.
stub scripts/check-tidy 'cat verdict'
commit() { git add scripts && git -c user.name=tester -c user.email=tester@example.com commit --quiet -m "$1"; }
ends 2 'commit these first' scripts/nightly --resume 9 tidy
printf '%s\n' /build /clock /report /stubs /verdict >.git/info/exclude
commit 'Some sources'
ends 1 '^== tidy has found something' scripts/nightly --resume 9 tidy
echo 'no findings in 3 files' >verdict
ends 0 '^no findings in 3 files' scripts/nightly --resume 9 tidy
rm verdict
ends 0 '^no findings in 3 files' scripts/nightly --resume 9 tidy
ends 1 '^== tidy has found something' scripts/nightly 9 tidy
echo '# changed' >>scripts/check-tidy
ends 2 'commit these first' scripts/nightly --resume 9 tidy
commit 'Other sources'
ends 1 '^== tidy has found something' scripts/nightly --resume 9 tidy

# If the builds take all the time, nothing is tried.
ends 1 '^no time is left of 1 minutes' scripts/nightly 1 model
