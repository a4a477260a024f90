# The unit tests: each program is one process; two run at once, each on a computer of its own.

# run_program NAME: one test program without what is listed. Leaves its log, and in NAME.result its outcome and how many
# tests it ran.
run_program() {
  local name=$1 log=$PWD/build/windows-$target/unit/$1 status=0 left_out told
  # Those of which only a part is left out have it in brackets.
  left_out=$(differences unit | sed -n "s/^$name\.\([^ :]*\): .*/\1/p" | paste -sd :)
  (
    [ "$lane" = 0 ] || export WINEPREFIX=$WINEPREFIX-2
    cd "build/windows-$target/bin"
    # The time zone is that which the tests expect.
    TZ=UTC-3 in_wine 150 "./test-$name.exe" --gtest_brief=1 --gtest_filter="-$left_out" </dev/null >"$log.log" 2>&1
  ) || status=$?
  told=$(tr -d '\r' <"$log.log" | sed -n 's/^\[==========\] \([0-9]*\) tests\? from .* ran\. (\(.*\) total)/\1 \2/p')
  if [ "$status" -eq 0 ] && [ -n "$told" ]; then
    echo "passed ${told%% *}" >"$log.result"
    echo "test-$name: ${told%% *} tests passed in ${told#* }"
  else
    echo "failed 0" >"$log.result"
    echo "test-$name: failed with code $status"
    tail -n 60 "$log.log"
  fi
}

run_unit() {
  local folder=build/windows-$target/unit name outcome count total=0
  scripts/build "windows-$target" tests-windows | tail -n 1
  second_prefix
  rm -rf "$folder"
  mkdir -p "$folder"
  export target
  export -f run_program differences in_wine
  # All programs of this build; those first that take longest.
  local names=(locale network-server faults connection query xpml)
  names+=($(sed -n 's/^portwise_test(\([a-z0-9-]*\).*/\1/p' tests/*/CMakeLists.txt | grep -vxF "$(printf '%s\n' "${names[@]}")"))
  for name in "${names[@]}"; do [ ! -f "build/windows-$target/bin/test-$name.exe" ] || echo "$name"; done |
    xargs -P 2 -I '{}' --process-slot-var=lane bash -c 'set -euo pipefail; run_program {}'
  for name in "${names[@]}"; do
    if [ -f "$folder/$name.result" ]; then
      read -r outcome count <"$folder/$name.result"
      total=$((total + count))
      [ "$outcome" = passed ] || result unit failed "test-$name, see $folder/$name.log"
    elif ! differences unit | grep -q "^$name: "; then
      result unit failed "test-$name is neither run nor listed"
    fi
  done
  result unit passed "$total tests"
  while IFS= read -r line; do not_run "${line%%: *}" "${line#*: }"; done < <(differences unit)
}
