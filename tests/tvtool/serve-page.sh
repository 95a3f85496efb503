#!/usr/bin/env bash
# Looks at the page of "tvtool serve" in a headless Chromium: sees a registration arrive as text, and
# presses a button. Ends with the status 77, "skipped", where Chromium is not installed.
#
#   serve-page.sh TVTOOL [SCREENSHOT]
set -euo pipefail
tvtool=$(realpath "$1") screenshot=${2:+$(realpath "$2")}
browser=$(command -v chromium) || {
    echo "serve-page: skipped, because chromium is not installed"
    exit 77
}
scratch=$(mktemp -d)
cd "$scratch"
# The browser's own children write for a moment longer than it lives.
clean_up() {
    # shellcheck disable=SC2046
    kill $(jobs -p) 2>/dev/null || true
    wait
    for _ in {1..50}; do
        ! rm -rf "$scratch" 2>/dev/null || break
        sleep 0.1
    done
}
trap clean_up EXIT
fail() {
    printf 'serve-page: %s\n' "$*" >&2
    exit 1
}

mkfifo messages commands answers
"$tvtool" serve 2>messages >records &
exec 5<messages
read -r _ _ _ address <&5
"$browser" --headless --no-sandbox --disable-gpu --user-data-dir="$scratch/profile" \
    --window-size=390,900 --remote-debugging-pipe 3<commands 4>answers 2>browser.log &
exec 6>commands 7<answers

# Reads the browser's messages up to one that holds "$1", and puts that into "answer".
wait_for() {
    while IFS= read -r -d '' -t 120 answer <&7; do
        [[ $answer != *"$1"* ]] || return 0
    done
    fail "the browser ended, or said nothing: $(tail -n 3 browser.log)"
}
number=0 session=''
# tell METHOD PARAMETERS tells the browser, and puts what it answers into "answer".
tell() {
    number=$((number + 1))
    printf '{"id":%d,"method":"%s","params":{%s}%s}\0' $number "$1" "${2:-}" \
        "${session:+,\"sessionId\":\"$session\"}" >&6
    wait_for "\"id\":$number,"
}
field() { sed -E "s/.*\"$1\":\"([^\"]*)\".*/\1/" <<<"$answer"; }
# expect WHAT CONDITION waits until the condition holds in the page.
expect() {
    local code="new Promise(done => { const look = () => ($2) && done('seen'); new MutationObserver(look)"
    code+=".observe(document.body, {subtree: true, childList: true, attributes: true}); look(); })"
    tell Runtime.evaluate "\"awaitPromise\":true,\"timeout\":60000,\"expression\":\"$code\""
    [[ $answer == *seen* ]] || fail "$1: $answer"
}
# Sends a request, and prints the status of the answer.
request() {
    (
        exec 3<>"/dev/tcp/127.0.0.1/${address##*:}"
        printf 'GET %s HTTP/1.1\r\nHost: here\r\n\r\n' "$1" >&3
        sed -n '1s/[^ ]* \([0-9]*\).*/\1/p' <&3
    )
}

tell Target.createTarget '"url":"about:blank"'
tell Target.attachToTarget "\"targetId\":\"$(field targetId)\",\"flatten\":true"
session=$(field sessionId)
tell Page.enable
tell Page.navigate "\"url\":\"$address/\""
wait_for Page.loadEventFired
expect "the page is connected" "document.getElementById('state').textContent === 'waiting'"
request '/v?RegFirstName=%3Cscript%3Ealert(1)%3C/script%3E&RegOrg=a%00b' >/dev/null
expect "a registration arrives as text" "[...document.querySelectorAll('dd')].some(\
it => it.textContent === '<script>alert(1)</script>') && document.scripts.length === 1"
tell Runtime.evaluate '"expression":"document.querySelector('"'[title~=status]'"').click()"'
expect "the button stays pressed" "document.querySelector('[aria-pressed=true]').title.includes('status')"
status=$(request '/v?a')
[ "$status" = 503 ] || fail "the endpoint answers $status after the button was pressed"
expect "the page counts" "document.getElementById('state').textContent === '2 registrations'"
if [ -n "$screenshot" ]; then
    tell Page.captureScreenshot
    field data | base64 -d >"$screenshot"
fi
