# Jobs, status, requests and faults through portwise.dll in the host of host/windows, beside the same of the Linux target:
# host.py has the checks.

run_host() {
  local kind name text
  scripts/build linux portwise-spooler portwise portwise-printer portwise-library portwise-reference-plugin \
    portwise-reference-plugin-blocks | tail -n 1
  scripts/build "windows-$target" portwise-library portwise-host ask-printer faulty-plugin portwise-reference-plugin \
    portwise-reference-plugin-blocks portwise-msgtable portwise-languages | tail -n 1
  timeout -k 10 300 scripts/windows-tests/host.py build/linux/bin "build/windows-$target/bin" >"$WINEPREFIX.host" || {
    # A check that fails says so in a line of its own.
    grep -q '^failed' "$WINEPREFIX.host" || return 1
  }
  while IFS=$'\t' read -r kind name text; do
    case $kind in
      passed | failed) result "$name" "$kind" "$text" ;;
      "not run") not_run "$name" "$text" ;;
    esac
  done <"$WINEPREFIX.host"
}
