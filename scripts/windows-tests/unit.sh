# The unit tests: each program is one process; two run at once, each on a computer of its own.

# run_program NAME: all of its tests but those that are listed; of which only a part is left out, those have it in
# brackets. Its log is NAME.log in the folder of the results. When all have passed it leaves in NAME.passed how many they
# were.
run_program() {
  local name=$1 results=$PWD/build/windows-$target/unit/$1 status=0 left_out count told
  left_out=$(differences unit | sed -n "s/^$name\.\([^ :]*\): .*/\1/p" | paste -sd :)
  (
    [ "${lane:-0}" = 0 ] || export WINEPREFIX=$WINEPREFIX-2
    cd "build/windows-$target/bin"
    # The time zone is that which the tests expect.
    TZ=UTC-3 in_wine 300 "./test-$name.exe" --gtest_filter="-$left_out" </dev/null >"$results.log" 2>&1
  ) || status=$?
  # A program that ends before its last test does not say this, whatever its code.
  told=$(tr -d '\r' <"$results.log" | sed -n 's/^\[==========\] \([0-9]*\) tests\? from .* ran\. (\(.*\) total)/\1 \2/p')
  count=${told%% *}
  if [ "$status" -eq 0 ] && [ "${count:-0}" -gt 0 ]; then
    echo "test-$name: $count tests passed in ${told#* }"
    echo "$count" >"$results.passed"
  else
    echo "test-$name: failed with code $status, after ${count:-not all} tests"
    # Not the tests that have passed, but that in which it ended.
    grep -av '^\[ RUN  \|^\[       OK\|^\[---' "$results.log" | tail -n 60 || true
    [ -n "$count" ] || grep -a '^\[ RUN  ' "$results.log" | tail -n 1 || true
  fi
}

run_unit() {
  local folder=build/windows-$target/unit name total=0 listed
  build_targets "windows-$target" tests-windows
  second_prefix
  rm -rf "$folder"
  mkdir -p "$folder"
  export target
  export -f run_program differences in_wine
  # All programs of this build; those first that take longest.
  local names=(monitor network-server xpml faults query locale connection)
  names+=($(sed -n 's/^portwise_test(\([a-z0-9-]*\).*/\1/p' tests/*/CMakeLists.txt |
    grep -vxF "$(printf '%s\n' "${names[@]}")"))
  for name in "${names[@]}"; do [ ! -f "build/windows-$target/bin/test-$name.exe" ] || echo "$name"; done |
    xargs -P 2 -I '{}' --process-slot-var=lane bash -c 'set -euo pipefail; run_program {}'
  listed=$(differences unit)
  for name in "${names[@]}"; do
    if [ -f "$folder/$name.passed" ]; then
      total=$((total + $(<"$folder/$name.passed")))
    elif [ -f "$folder/$name.log" ]; then
      result unit failed "test-$name, see $folder/$name.log"
    elif ! grep -q "^$name: " <<<"$listed"; then
      result unit failed "test-$name is neither run nor listed"
    fi
  done
  [ "$total" -eq 0 ] || result unit passed "$total tests"
  while IFS= read -r line; do not_run "${line%%: *}" "${line#*: }"; done <<<"$listed"
}
