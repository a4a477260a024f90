# The unit tests: each program is one process; two run at once, each on a computer of its own.

# start_program NAME FILTER: the program with these tests; its log is in the folder of the results.
start_program() {
  local name=$1 log=$PWD/build/windows-$target/unit/$1.log
  (
    [ "${lane:-0}" = 0 ] || export WINEPREFIX=$WINEPREFIX-2
    cd "build/windows-$target/bin"
    # The time zone is that which the tests expect.
    TZ=UTC-3 in_wine 150 "./test-$name.exe" --gtest_brief=1 --gtest_filter="$2" </dev/null >"$log" 2>&1
  )
}

# run_program NAME: all of its tests but those that are listed; of which only a part is left out, those have it in
# brackets. Leaves in NAME.result how many tests it ran, or in NAME.failed those that failed: nothing when it did not
# come to its end.
run_program() {
  local name=$1 results=build/windows-$target/unit/$1 status=0 left_out told
  left_out=$(differences unit | sed -n "s/^$name\.\([^ :]*\): .*/\1/p" | paste -sd :)
  start_program "$name" "-$left_out" || status=$?
  told=$(tr -d '\r' <"$results.log" | sed -n 's/^\[==========\] \([0-9]*\) tests\? from .* ran\. (\(.*\) total)/\1 \2/p')
  echo "${told%% *}" >"$results.result"
  if [ "$status" -eq 0 ] && [ -n "$told" ]; then
    echo "test-$name: ${told%% *} tests passed in ${told#* }"
  else
    echo "test-$name: failed with code $status"
    tail -n 60 "$results.log"
    tr -d '\r' <"$results.log" | sed -n 's/^\[  FAILED  \] \([^ ,]*\)\( (.*\)\?$/\1/p' | sort -u >"$results.failed"
  fi
}

# try_again NAME: the tests of a program that failed, by themselves, with a clock that runs at a quarter of the speed:
# on a machine that has other things to do, Wine's own time may be too large a part of theirs.
try_again() {
  local name=$1 tests
  tests=$(paste -sd : "build/windows-$target/unit/$name.failed")
  [ -n "$tests" ] || return 1
  echo "test-$name: once more: $tests"
  if ! PORTWISE_MOST_TIME_SCALE=5 start_program "$name" "$tests"; then
    tail -n 60 "build/windows-$target/unit/$name.log"
    return 1
  fi
}

run_unit() {
  local folder=build/windows-$target/unit name total=0 again=0 listed
  scripts/build "windows-$target" tests-windows | tail -n 1
  second_prefix
  rm -rf "$folder"
  mkdir -p "$folder"
  export target
  export -f run_program start_program differences in_wine
  # All programs of this build; those first that take longest.
  local names=(monitor network-server xpml faults query locale connection)
  names+=($(sed -n 's/^portwise_test(\([a-z0-9-]*\).*/\1/p' tests/*/CMakeLists.txt |
    grep -vxF "$(printf '%s\n' "${names[@]}")"))
  for name in "${names[@]}"; do [ ! -f "build/windows-$target/bin/test-$name.exe" ] || echo "$name"; done |
    xargs -P 2 -I '{}' --process-slot-var=lane bash -c 'set -euo pipefail; run_program {}'
  listed=$(differences unit)
  for name in "${names[@]}"; do
    if [ -f "$folder/$name.result" ]; then
      total=$((total + $(cat "$folder/$name.result")))
      [ -f "$folder/$name.failed" ] || continue
      if try_again "$name"; then
        again=$((again + $(wc -l <"$folder/$name.failed")))
      else
        result unit failed "test-$name, see $folder/$name.log"
      fi
    elif ! grep -q "^$name: " <<<"$listed"; then
      result unit failed "test-$name is neither run nor listed"
    fi
  done
  result unit passed "$total tests ran$([ "$again" = 0 ] || echo ", $again of them passed the second time only")"
  while IFS= read -r line; do not_run "${line%%: *}" "${line#*: }"; done <<<"$listed"
}
