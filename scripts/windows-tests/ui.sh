# The windows: rundll32 opens them in a desktop of Wine's own, which is clicked at and read (tests/windows/ui), and a
# service on this side, with a simulated printer, answers them over HTTP. A picture of each state stays in
# build/windows-pictures.

ui_faults=()
ui_began=()
ui_checks=0
ui_fault() {
  ui_faults+=("$*")
  echo "ui: $*" >&2
  # What comes after many faults would only take its time.
  [ ${#ui_faults[@]} -lt 5 ] || exit 1
}

# drive COMMAND [WORD...]: what the driver answers, without its "ok", is in $answer.
drive() {
  local IFS=$'\t'
  printf '%s\n' "$*" >&"${ui_driver[1]}" 2>/dev/null || return 1
  answer='no answer'
  IFS= read -r -t 30 answer <&"${ui_driver[0]}" || return 1
  answer=${answer%$'\r'}
  [[ $answer == ok* ]] || return 1
  answer=${answer#ok }
}
# check COMMAND [WORD...]: what must succeed.
check() {
  ui_checks=$((ui_checks + 1))
  drive "$@" || ui_fault "$*: $answer"
}
# check_answer WANTED COMMAND [WORD...]
check_answer() {
  local wanted=$1
  shift
  check "$@"
  [ "$answer" = "$wanted" ] || ui_fault "$*: $answer, not $wanted"
}
same() {  # WHAT FOUND WANTED
  ui_checks=$((ui_checks + 1))
  [ "$2" = "$3" ] || ui_fault "$1: $2, not $3"
}

picture() {  # NAME: waits for two pictures that are the same, since windows draw when they come to it
  local before='' now='' tries
  for tries in 1 2 3 4 5 6 7 8; do
    sleep 0.15
    import -silent -window root "$ui_pictures/$1.png"
    now=$(convert "$ui_pictures/$1.png" -format '%#' info:)
    [ "$now" != "$before" ] || return 0
    before=$now
  done
}

# The sign on the icon in the notification area, in the last picture: its colour is that of the severity.
icon_shows() {  # PICTURE normal|warning|error
  local colours normal warning error sign=none
  colours=$(convert "$ui_pictures/$1.png" -crop 20x20+620+380 -depth 8 txt:- | awk -F'[(,)]' 'NR > 1 {
    if ($3 < 110 && $4 > 110 && $5 < 110) normal++
    else if ($3 > 200 && $4 > 140 && $5 < 90) warning++
    else if ($3 > 160 && $4 < 90 && $5 < 90) error++ } END { print normal + 0, warning + 0, error + 0 }')
  read -r normal warning error <<<"$colours"
  [ "$normal" -lt 8 ] || sign=normal
  [ "$warning" -lt 8 ] || sign=warning
  [ "$error" -lt 8 ] || sign=error
  same "the icon in $1 ($colours)" "$sign" "$2"
}

# mouse [-]X [-]Y ORDER...: as xdotool has them, at a place of the window, or of the screen after "screen".
mouse() {
  local x=0 y=0 rest
  if [ "$1" = screen ]; then shift; else read -r x y rest <<<"$ui_place"; fi
  xdotool mousemove $((x + $1)) $((y + $2))
  sleep 0.1
  [ $# -lt 3 ] || xdotool "${@:3}"
  sleep 0.05
}
place() {  # where the window is
  check visible "$ui_title"
  ui_place=${answer#no }
}

order() {  # tells the simulated printer something
  exec 3<>"/dev/tcp/127.0.0.1/$(cut -d' ' -f3 "$ui_work/printer.out")"
  echo "$1" >&3
  head -n 1 <&3 >/dev/null
  exec 3>&-
}

ui_start() {  # NAME PROGRAM...: waits until it says that it is ready
  local name=$1
  shift
  "$@" >"$ui_work/$name.out" 2>"$ui_work/$name.err" &
  ui_began+=($!)
  for _ in $(seq 100); do
    grep -qs '^ready' "$ui_work/$name.out" && return
    sleep 0.1
  done
  ui_fault "$name did not start"
  return 1
}

# A label printer that says how it is, at a port of the spooler on this side.
ui_begin_service() {
  ui_port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
  export PORTWISE_HOME=$ui_work/home PORTWISE_COMPUTER_NAME=LABELS
  pw() { build/linux/bin/portwise "$@"; }
  mkdir -p "$PORTWISE_HOME"
  pw registry set --type dword 'LOCAL:Network/@LABELS/TCP Port' "$ui_port"
  pw registry set --type bool 'LOCAL:Network/@LABELS/Network Communication' false
  ui_start spooler build/linux/bin/portwise-spooler || return
  ui_spooler=$!
  ui_start printer build/linux/bin/portwise-printer || return
  pw port add USB001 --tcp "127.0.0.1:$(cut -d' ' -f2 "$ui_work/printer.out")"
  pw printer add 'Label Printer' --port USB001 --driver "$PWD/build/linux/bin/reference.dll" --data-file SIMPR.DAT \
    --setting 'Status/Status Monitoring Mode=2' --setting 'Status/Active Polling Interval=150' \
    --setting 'Status/Idle Polling Interval=150'
  pw printer add "$ui_long_name" --port USB001 --driver "$PWD/build/linux/bin/reference.dll" --data-file SIMPR.DAT
}

# The ANSI code page of this language is UTF-8, like that of the service on this side.
ui_wine() { LOCPATH=$ui_work/locales exec env LC_ALL=hi_IN.UTF-8 wine "$@" 2>>"$ui_work/wine.err"; }

# Wine with a display, our library and the printer. Its printers know one computer, so the service is asked at
# "localhost", as a setting of the product has it.
ui_begin_wine() {
  local computer printers='HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\Print\Printers'
  exec {ui_display}< <(exec Xvfb -displayfd 1 -screen 0 640x400x24 -nolisten tcp 2>/dev/null)
  ui_began+=($!)
  read -r -t 20 -u "$ui_display" DISPLAY || { ui_fault 'Xvfb did not start'; return 1; }
  export DISPLAY=:$DISPLAY
  wineserver -k
  wineserver -w
  mkdir "$ui_work/locales"
  localedef -i hi_IN -f UTF-8 "$ui_work/locales/hi_IN.UTF-8" || { ui_fault 'no locale was made'; return 1; }
  wineserver -p
  cp "build/windows-$target/bin/portwise.dll" build/linux/bin/portwise.ddz "$WINEPREFIX/drive_c/windows/system32/"
  # Debian's Wine does not find its own fonts.
  ln -sf /usr/share/wine/fonts/{marlett,tahoma,tahomabd}.ttf "$WINEPREFIX/drive_c/windows/Fonts/"
  computer=$(ui_wine hostname | tr -d '\r')
  {
    cat <<'END'
Windows Registry Editor Version 5.00

[HKEY_CURRENT_USER\Software\Wine\Explorer]
"Desktop"="shell"

[HKEY_CURRENT_USER\Software\Wine\Explorer\Desktops]
"shell"="640x400"

[HKEY_CURRENT_USER\Software\Wine\Fonts\Replacements]
"MS UI Gothic"="VL PGothic"

END
    for name in 'Label Printer' "$ui_long_name"; do
      printf '[%s]\n"Name"="%s"\n"Port"="USB001"\n"Print Processor"="WinPrint"\n"Datatype"="RAW"\n' \
        "$printers\\$name" "$name"
      printf '"Attributes"=dword:00000840\n\n'  # of this computer, asked in both directions
      printf '[%s]\n"Show Icon"=hex:01\n"Active Polling Interval"=dword:00000096\n\n' \
        "$printers\\$name\\PrinterDriverData\\Settings\\Status"
    done
    printf '[%s]\n"Network Bidirectional"=hex:00\n"TCP Port"=dword:%08x\n\n' \
      "HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers\\Network\\@$computer" "$ui_port"
  } | iconv -t UTF-16 >"$ui_work/ui.reg"
  (ui_wine regedit /S "Z:${ui_work//\//\\}\\ui.reg")
  coproc UI_DRIVER { ui_wine "build/windows-$target/bin/window-driver.exe"; }
  ui_began+=("$UI_DRIVER_PID")
  ui_driver=("${UI_DRIVER[@]}")
  check setting "$ui_settings" 'Show On Error' 01
  # Wine's bold font for titles has no Japanese.
  check setting 'Control Panel\Desktop\WindowMetrics' CaptionFont \
    "f5ffffff$(printf '%024d' 0)90010000$(printf '%016d' 0)$(printf '%-128s' "$(ui_utf16 Tahoma)" | tr ' ' 0)"
}

ui_open() {  # the status window; its program is $ui_window
  check run 'rundll32 portwise.dll,StatusMonitorW open "Label Printer"'
  ui_window=$answer
}
ui_ended() {  # the window that ui_open has opened
  check gone "$ui_title"
  check_answer 0 ended "$ui_window"
}
ui_close() {
  check run 'rundll32 portwise.dll,StatusMonitor close "Label Printer"'
  check_answer 0 ended "$answer"
  ui_ended
}

ui_states() {
  local second
  ui_open
  check visible "$ui_title"
  check text "$ui_title" 1015 'Label Printer'
  check text "$ui_title" 1016 USB001
  check text "$ui_title" 1017 Ready
  check layout "$ui_title"
  place
  ui_middle=$ui_place
  picture ready
  icon_shows ready normal
  # A second one brings the first to the front, and one of a printer that is not there is not shown.
  second=$ui_window
  ui_open
  check_answer 0 ended "$ui_window"
  check_answer 1 count "$ui_title"
  ui_window=$second
  check run 'rundll32 portwise.dll,StatusMonitor open Nobody'
  check_answer 0 ended "$answer"
  check_answer 0 count 'Nobody Status'

  order 'ribbon low'
  check text "$ui_title" 1017 'Ready, Ribbon Low'
  picture warning
  icon_shows warning warning
  order ready
  check text "$ui_title" 1017 Ready
  # Closed, it stays as its icon, until there is an error.
  check close "$ui_title"
  check hidden "$ui_title"
  picture hidden
  icon_shows hidden normal
  order 'paper out'
  check visible "$ui_title"
  check text "$ui_title" 1017 'Out of Paper'
  picture out-of-paper
  icon_shows out-of-paper error
  for condition in 'head open' offline 'ribbon low'; do order "$condition"; done
  check text "$ui_title" 1017 'Offline, Head Open, Out of Paper, Ribbon Low'
  check layout "$ui_title"
  picture several-conditions
}

ui_menus() {
  place
  mouse 120 50 click 3
  check menu
  picture window-menu
  xdotool key Down Return
  check hidden "$ui_title"
  mouse screen 630 390 click 3
  check menu
  mouse screen 300 200  # the tip of the icon is gone then
  picture icon-menu
  # A click elsewhere closes it.
  mouse screen 300 200 click 1
  check no-menu
  mouse screen 630 390 click --repeat 2 --delay 50 1
  check visible "$ui_title"
}

ui_drag() {
  local before x y width height step
  place
  before=$ui_place
  check setting "$ui_settings" 'Hide Titlebar' 01
  for _ in $(seq 50); do
    place
    [ "$ui_place" = "$before" ] || break
    sleep 0.1
  done
  read -r x y width height <<<"$ui_place"
  mouse 100 30 mousedown 1
  for step in 1 2 3 4 5; do mouse $((100 + 14 * step)) $((30 + 18 * step)); done
  xdotool mouseup 1
  ui_place="$((x + 70)) $((y + 90)) $width $height"
  check place "$ui_title" "$ui_place"
  picture dragged-without-title-bar
  ui_close
  # It opens where it was.
  ui_open
  check place "$ui_title" "$ui_place"
  check setting "$ui_settings" 'Hide Titlebar' 00
}

# A command line that does not wait for the window, and one that forgets where the window was.
ui_relay() {
  check run 'rundll32 portwise.dll,StatusMonitor @open "Label Printer"'
  check_answer 0 ended "$answer"
  check visible "$ui_title"
  check run 'rundll32 portwise.dll,StatusMonitor cleanup "Label Printer"'
  check_answer 0 ended "$answer"
  check gone "$ui_title"
  ui_open
  check place "$ui_title" "$ui_middle"
  ui_close
}

# What the window says of one condition and of all four, in the user's language.
ui_language() {  # LANGUAGE TITLE READY ALL
  local language=$1
  check setting "${ui_settings%\\*}" Language "$(ui_utf16 "$language")"
  order ready
  ui_open
  ui_title=$2
  check visible "$ui_title"
  check text "$ui_title" 1017 "$3"
  picture "ready-$language"
  for condition in 'paper out' 'head open' offline 'ribbon low'; do order "$condition"; done
  check text "$ui_title" 1017 "$4"
  check layout "$ui_title"
  picture "several-conditions-$language"
  place
  mouse 120 50 click 3
  check menu
  picture "window-menu-$language"
  xdotool key Escape
  sleep 0.2
  order ready
  ui_close
}

# A printer with a long name of its own, of which nobody answers any more.
ui_no_answer() {
  check run "rundll32 portwise.dll,StatusMonitor open \"$ui_long_name\""
  ui_window=$answer
  ui_title="$ui_long_name Status"
  check text "$ui_title" 1017 Ready
  picture long-name
  kill "$ui_spooler"
  check text "$ui_title" 1017 'Monitoring Disabled'
  picture no-answer
  icon_shows no-answer error
  check run "rundll32 portwise.dll,StatusMonitor close \"$ui_long_name\""
  ui_ended
}

ui_utf16() { printf '%s\0' "$1" | iconv -t UTF-16LE | od -An -v -tx1 | tr -d ' \n'; }

# The dialog that follows the queries of a job, which prints on this side, in the user's language.
ui_query() {  # LANGUAGE TITLE WAITING
  ui_title=$2
  check setting "${ui_settings%\\*}" Language "$(ui_utf16 "$1")"
  check query 'Label Printer' 17
  check visible "$ui_title"
  check text "$ui_title" 1015 "$3"
  check layout "$ui_title"
  picture "query-waiting-$1"
}
ui_query_prints() {  # LANGUAGE
  pw print 'Label Printer' "$ui_work/queries.job" >"$ui_work/print.out"
  # The queries of the job before are there until this one has begun.
  for _ in $(seq 50); do
    [ "$(pw xpml 'Label Printer' "<query value='complete' action='get'/>")" != 0 ] || break
    sleep 0.1
  done
  check job 10
  check text "$ui_title" 1015 'Printer Version'
  check text "$ui_title" 1009 Receiving
  check text "$ui_title" 1011 26
  check layout "$ui_title"
  picture "query-$1"
}
ui_query_cancel() {
  local x y width height
  check control "$ui_title" 1013
  read -r x y width height <<<"$answer"
  mouse screen $((x + width / 2)) $((y + height / 2)) click 1
  check_answer '2 priority 99 deleted' query-result
}

ui_queries() {
  local name
  check run 'rundll32 portwise.dll,Query open "Label Printer" -ji 99'
  check_answer 0 ended "$answer"
  {
    printf '<xpml>'
    for name in Identity Version Settings; do
      printf '<query action="execute" name="Printer %s">\x1b?ID\r\n</query>' "$name"
    done
    printf '</xpml>label<xpml><end></end></xpml>'
  } >"$ui_work/queries.job"
  order 'delay 1000'
  ui_query enu 'Query Label Printer' 'Waiting on print job.'
  ui_query_prints enu
  check_answer '1 priority 99' query-result
  ui_query jpn 'クエリ Label Printer' '印刷ジョブを待っています。'
  ui_query_prints jpn
  ui_query_cancel
  ui_query deu 'Abfrage Label Printer' 'Warten auf den Druckauftrag.'
  ui_query_cancel
  order 'delay 0'
}

ui_run() {
  trap ui_end EXIT
  rm -rf "$ui_pictures"
  mkdir -p "$ui_pictures"
  ui_begin_service && ui_begin_wine || exit 1
  ui_states
  ui_menus
  ui_drag
  ui_close
  order ready
  ui_relay
  ui_language jpn 'Label Printer ステータス' '準備完了' 'オフライン, ヘッドオープン, 用紙なし, リボン残量少'
  ui_language deu 'Label Printer Status' Bereit 'Offline, Druckkopf offen, Kein Papier, Farbband fast leer'
  ui_queries
  ui_no_answer
  [ ${#ui_faults[@]} -eq 0 ]
}

# Ends what this part has started, and Wine's server, which has taken its display from it.
ui_end() {
  local status=$?
  trap - EXIT
  echo "$ui_checks" >"$ui_pictures/checks"
  for pid in "${ui_began[@]}"; do kill "$pid" 2>/dev/null || true; done
  wineserver -k 2>/dev/null || true
  wait
  rm -rf "$ui_work"
  exit "$status"
}

run_ui() {
  ui_title='Label Printer Status'
  ui_long_name=名古屋物流センター出荷ラベルプリンター三号機（予備）
  ui_settings='SOFTWARE\Corvane\Drivers\Printers\Label Printer\Settings\Status Window'
  ui_pictures=$PWD/build/windows-pictures
  build_targets "windows-$target" portwise-library window-driver
  build_targets linux portwise portwise-spooler portwise-printer portwise-library portwise-reference-plugin
  ui_work=$(mktemp -d)
  local outcome=failed
  (ui_run) && outcome=passed
  result ui $outcome "$(<"$ui_pictures/checks") checks of the windows, pictures in build/windows-pictures"
  not_run "the state of a job in the spooler" \
    "Wine's spooler knows none, and the jobs of their own process only; the driver of the dialog answers for it"
}
