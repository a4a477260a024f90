# Jobs, status, requests and faults through portwise.dll in the host of host/windows, beside the same of the Linux target:
# host.py has the checks.

run_host() {
  local status=0 kind name text
  build_targets linux portwise-spooler portwise portwise-printer portwise-library portwise-reference-plugin \
    portwise-reference-plugin-blocks
  build_targets "windows-$target" portwise-library portwise-host ask-printer faulty-plugin portwise-reference-plugin \
    portwise-reference-plugin-blocks portwise-msgtable portwise-languages
  timeout -k 10 300 scripts/windows-tests/host.py build/linux/bin "build/windows-$target/bin" >"$WINEPREFIX.host" ||
    status=$?
  while IFS=$'\t' read -r kind name text; do
    case $kind in
      passed | failed) result "$name" "$kind" "$text" ;;
      "not run") not_run "$name" "$text" ;;
    esac
  done <"$WINEPREFIX.host"
  # A check that fails says so in a line of its own; what ends all of them does not.
  [ "$status" -eq 0 ] || grep -q '^failed' "$WINEPREFIX.host"
}
