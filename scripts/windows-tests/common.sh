# What the parts of scripts/test-windows share: the prefix of Wine and its server, programs with a time limit, and what
# comes out. Sourced with `target` to be set to x64 or x86 before begin_wine.

results=()
unrun=()
began=()
prefixes=()

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

# ends_with_us PID: a process in the background that ends when all is over.
ends_with_us() { began+=("$1"); }

end_servers() {
  local prefix
  for prefix in "${prefixes[@]}"; do
    [ -d "$prefix" ] || continue
    WINEPREFIX=$prefix wineserver -k 2>/dev/null || true
    WINEPREFIX=$prefix timeout 20 wineserver -w 2>/dev/null || true
  done
}

end_wine() {
  local status=$? pid
  trap - EXIT
  for pid in "${began[@]}"; do kill "$pid" 2>/dev/null || true; done
  end_servers
  exit "$status"
}

# in_wine SECONDS PROGRAM [ARGUMENT...]: a Windows program, ended when it takes longer (124).
in_wine() {
  local limit=$1
  shift
  timeout -k 5 "$limit" wine "$@"
}

# result NAME passed|failed TEXT: one line of the summary.
result() { results+=("$2 $1: $3"); }

# not_run NAME REASON
not_run() { unrun+=("$1: $2"); }

# differences PART: the lines "NAME: REASON" of what a part does not run, from the one place where they are.
differences() { sed -nE "s/^$1(-$target)?\.//p" scripts/windows-tests/not-run; }

# summary: prints what came out; fails when something has failed.
summary() {
  local failed=0 line
  echo "== summary ($target)"
  for line in "${results[@]}"; do
    echo "$line"
    [[ $line == passed* ]] || failed=1
  done
  if [ ${#unrun[@]} -gt 0 ]; then
    echo 'not run:'
    # One line for each reason.
    printf '%s\n' "${unrun[@]}" | awk -F ': ' '
      { if (!($2 in names)) order[++count] = $2; names[$2] = names[$2] (names[$2] == "" ? "" : ", ") $1 }
      END { for (i = 1; i <= count; ++i) print "  " order[i] ": " names[order[i]] }'
  fi
  return $failed
}
