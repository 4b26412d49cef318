#!/bin/sh
# Another user is refused: a peer that runs as someone else gets neither an
# answer nor a hearing, even when the socket itself is open to it. Needs
# root (to become "nobody" with setpriv or runuser); skipped otherwise.
# Arguments: the folder of the programs, the source folder.
. "$(dirname "$0")/lib/common.sh"

if [ "$(id -u)" -ne 0 ]; then
    echo "$test_name: skipped: only root can run a client as another user"
    exit 77
fi
python=$(command -v python3 || true)
case "$python" in /usr/bin/*|/bin/*) ;; *) python=/usr/bin/python3 ;; esac
if [ ! -x "$python" ]; then
    echo "$test_name: skipped: no system python3 to act as the other user's client"
    exit 77
fi
if command -v setpriv > /dev/null; then
    as_nobody() { setpriv --reuid=nobody --regid=nogroup --clear-groups "$@"; }
elif command -v runuser > /dev/null; then
    as_nobody() { runuser -u nobody -- "$@"; }
else
    echo "$test_name: skipped: neither setpriv nor runuser is there"
    exit 77
fi

# A client in a few lines: sends one framed status request and prints what
# came back ("reply" or "closed").
cat > "$work/client.py" <<'PY'
import socket, struct, sys
what = (ord('S') << 24) | (ord('t') << 16) | (ord('a') << 8) | ord('t')
body = struct.pack('<IIII', 0x67734D43, 1, what, 0)
s = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
s.settimeout(5)
try:
    s.connect(sys.argv[1])
    s.sendall(struct.pack('>I', len(body)) + body)
    data = s.recv(4)
    print("reply" if data else "closed")
except (ConnectionResetError, BrokenPipeError):
    print("closed")
except OSError as error:
    print("refused: %s" % error)
PY
chmod 755 "$work" "$work/client.py"

later=$(( $(date +%s) + 3600 ))
"$ctl" companion-set "$later" > /dev/null || fail "companion-set failed"
wait_for '[ -S "$companion_socket" ] && [ -n "$(companion_pid)" ]' 10 || fail "the companion did not come up"
# The client is sound: our own user gets the answer.
[ "$("$python" "$work/client.py" "$companion_socket")" = "reply" ] || fail "the client gets no reply as root"

# Open the way to the socket for everybody; the peer check is what is left.
chmod 711 "$XDG_RUNTIME_DIR" "$sockets"
chmod 777 "$companion_socket"
answer=$(as_nobody "$python" "$work/client.py" "$companion_socket")
[ "$answer" = "closed" ] || fail "another user's request was answered: $answer"
# Its own tools refuse the folder of another user outright.
as_nobody "$ctl" companion-set none > "$work/nobody.out" 2>&1 &&
    fail "calvorinctl as another user reached the companion"
chmod 700 "$XDG_RUNTIME_DIR" "$sockets"
[ "$(wakeup_line | cut -d' ' -f3)" = "$later" ] || fail "the companion's time changed: $(wakeup_line)"

echo "$test_name: ok"
