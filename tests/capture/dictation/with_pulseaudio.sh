#!/usr/bin/env bash
# with_pulseaudio.sh COMMAND...: runs COMMAND against a private PulseAudio whose default
# microphone hears whatever is played into the sink "virtmic" (paplay -d virtmic FILE).
set -uo pipefail
dir=$(mktemp -d)
trap 'kill "$server" 2>/dev/null; wait "$server" 2>/dev/null; rm -rf "$dir"' EXIT
export HOME="$dir" XDG_RUNTIME_DIR="$dir" PULSE_RUNTIME_PATH="$dir/pulse" PULSE_SERVER="unix:$dir/pulse.sock"
pulseaudio -n --daemonize=no --exit-idle-time=-1 --disable-shm=yes --log-level=error \
  -L "module-native-protocol-unix socket=$dir/pulse.sock auth-anonymous=1" \
  -L "module-null-sink sink_name=virtmic rate=16000 channels=1 format=s16le" \
  -L "module-remap-source master=virtmic.monitor source_name=virtmic_src" >"$dir/pulseaudio.log" 2>&1 &
server=$!
for _ in $(seq 100); do pactl info >/dev/null 2>&1 && break; sleep 0.1; done
pactl set-default-source virtmic_src || { cat "$dir/pulseaudio.log"; exit 1; }
# A real microphone never stops; without something playing, the virtual one would.
pacat -d virtmic --latency-msec=20 --rate=16000 --channels=1 --format=s16le </dev/zero &
quiet=$!
"$@"
status=$?
kill "$quiet"
exit $status
