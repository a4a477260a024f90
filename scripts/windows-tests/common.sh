# What the parts of scripts/test-windows share: the prefix of Wine and its server, programs with a time limit, and what
# comes out. Sourced with `target` to be set to x64 or x86 before begin_results.

prefixes=()

# begin_results: from here on the parts tell what came out. It is in a file, because each part is a process.
begin_results() {
  results=$PWD/build/test-windows-$target.results
  mkdir -p build
  : >"$results"
}

# begin_wine: a prefix for this target, fresh, and its server, which goes on until all is over, so that further programs
# start in a fraction of the time. Fails where Wine does not start.
begin_wine() {
  export WINEPREFIX=$PWD/build/wine-$target WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml,winemenubuilder.exe='
  export LC_ALL=C.UTF-8
  unset DISPLAY WAYLAND_DISPLAY
  prefixes=("$WINEPREFIX" "$WINEPREFIX-2")
  trap end_wine EXIT
  trap 'exit 1' INT TERM HUP
  end_servers
  rm -rf "${prefixes[@]}"
  mkdir -p "$WINEPREFIX"
  if ! timeout -k 5 120 wine wineboot -i >"$WINEPREFIX.log" 2>&1; then
    cat "$WINEPREFIX.log" >&2
    echo 'test-windows: Wine does not start' >&2
    return 1
  fi
  end_servers  # which writes the registry
  wineserver -p
}

# enter_wine32 ARGUMENTS OF THE SCRIPT...: from now on Wine is that of the 32-bit system below build/, where setup has
# made one. This tree and what the kernel shows are mounted there, for this script alone.
enter_wine32() {
  local root=$PWD/build/wine32-root commands=$PWD/build/wine32-commands command
  [ ! -x /usr/lib/wine/wine ] || return 0
  [ -n "${PORTWISE_OWN_MOUNTS:-}" ] || PORTWISE_OWN_MOUNTS=yes exec unshare -m "$0" "$@"
  mkdir -p "$root$PWD" "$commands"
  mount -t proc proc "$root/proc"
  mount --rbind /dev "$root/dev"
  mount --bind "$PWD" "$root$PWD"
  for command in wine wineserver; do
    printf '#!/bin/sh\nexec chroot "%s" env -C "$PWD" HOME=/root /usr/bin/%s "$@"\n' "$root" "$command" >"$commands/$command"
    chmod +x "$commands/$command"
  done
  export PATH=$commands:$PATH
}

# second_prefix: another computer, so that what two programs do to their drives and registries stays apart. The files
# of the system are those of the first.
second_prefix() {
  local second=${prefixes[1]}
  [ ! -d "$second" ] || return 0
  WINEPREFIX=${prefixes[0]} wineserver -k 2>/dev/null || true
  WINEPREFIX=${prefixes[0]} timeout 20 wineserver -w || true
  mkdir "$second"
  cp -a "${prefixes[0]}"/{*.reg,.update-timestamp,dosdevices} "$second"
  cp -as "${prefixes[0]}/drive_c" "$second"
  for prefix in "${prefixes[@]}"; do WINEPREFIX=$prefix wineserver -p; done
}

end_servers() {
  local prefix
  for prefix in "${prefixes[@]}"; do
    [ -d "$prefix" ] || continue
    WINEPREFIX=$prefix wineserver -k 2>/dev/null || true
    WINEPREFIX=$prefix timeout 20 wineserver -w 2>/dev/null || true
  done
}

end_wine() {
  local status=$?
  trap - EXIT
  end_servers
  exit "$status"
}

# in_wine SECONDS PROGRAM [ARGUMENT...]: a Windows program, ended when it takes longer (124).
in_wine() {
  local limit=$1
  shift
  timeout -k 5 "$limit" wine "$@"
}

# run_part: $part, in a process of its own, which the first command that fails ends. For that it must not be part of a
# condition, where bash goes on after a failure.
run_part() {
  local status
  echo "== $part ($target)"
  set +e
  (
    set -e
    . "scripts/windows-tests/$part.sh"
    # It says what came out by "result" and "not_run".
    "run_$part"
  )
  status=$?
  set -e
  [ "$status" -eq 0 ] || result "$part" failed "the part ended early, with code $status"
}

# build_targets PRESET TARGET...: ends the part when it fails, so that nothing older runs in place of what it builds.
build_targets() {
  scripts/build "$@" >"$WINEPREFIX.build" 2>&1 || {
    cat "$WINEPREFIX.build"
    result "scripts/build $1" failed 'it does not build'
    return 1
  }
}

# result NAME passed|failed TEXT: one line of the summary.
result() { printf '%s\t%s\t%s\t%s\n' "$part" "$2" "$1" "${3//$'\t'/ }" >>"$results"; }

# not_run NAME REASON
not_run() { printf '%s\tnot run\t%s\t%s\n' "$part" "$1" "$2" >>"$results"; }

# differences PART: the lines "NAME: REASON" of what a part does not run, from the one place where they are.
differences() { sed -nE "s/^$1(-$target)?\.//p" scripts/windows-tests/not-run; }

# print_results: the summary, with one line for each reason not to run something.
print_results() {
  echo "== summary ($target)"
  awk -F '\t' '
    $2 != "not run" { print $2 " " $3 ": " $4; next }
    { if (!($4 in names)) order[++count] = $4; names[$4] = names[$4] (names[$4] == "" ? "" : ", ") $3 }
    END {
      if (count > 0) print "not run:"
      for (i = 1; i <= count; ++i) print "  " order[i] ": " names[order[i]]
    }' "$results"
}

# summary: prints what came out; fails unless each part has passed something and nothing has failed.
summary() {
  for part in "${parts[@]}"; do
    grep -q "^$part"$'\t''\(passed\|failed\)'$'\t' "$results" || result "$part" failed 'nothing came out'
  done
  print_results
  ! grep -q $'^[a-z]*\tfailed\t' "$results"
}
