#!/usr/bin/env bash
# Makes the demo's utterances: short phrases from a speech synthesizer (Debian packages
# espeak-ng and sox), 16 kHz mono 16-bit, with silence, and in some files noise, around
# them.  Writes NAME.wav and a line "NAME.wav lead_ms speech_ms text" per file to
# utterances.txt.  With "noisy" (or "all") it makes the noise-robustness set: one clean
# utterance with long silent padding (robust-clean.wav) and the same mixed with white noise
# at 20 and 5 dB signal-to-noise ratio over the speech span (robust-snr20.wav,
# robust-snr5.wav), listed as "file lead_ms speech_ms snr_db" in robust.txt.  With "words" (or "all") it also makes the isolated words of the
# recognition example: zero .. nine, yes, no by three voices at two speeds, trimmed of
# silence, into words/VOICE-SPEED-WORD.wav with a line "file voice speed word" per file in
# words/words.txt.  The files are committed; rerun only to change them.
#
#     make-speech.sh [utterances|words|noisy|all]      (default: all)
set -euo pipefail
cd "$(dirname "$0")"
what=${1:-all}
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

if [ "$what" = words ] || [ "$what" = all ]; then
    mkdir -p words
    : > words/words.txt
    for voice in en+m3 en-us en+f3; do
        for speed in 130 180; do
            for word in zero one two three four five six seven eight nine yes no; do
                name="${voice//+/_}-$speed-$word.wav"
                espeak-ng -v "$voice" -s "$speed" -w "$tmp/raw.wav" "$word"
                sox "$tmp/raw.wav" -r 16000 -c 1 -b 16 "words/$name" \
                    silence 1 0.01 0.5% reverse silence 1 0.01 0.5% reverse pad 0.05 0.05
                echo "$name $voice $speed $word" >> words/words.txt
            done
        done
    done
    du -sh words
fi
[ "$what" = words ] && exit 0

if [ "$what" = noisy ] || [ "$what" = all ]; then
    lead=1.5 tail=2.0
    espeak-ng -v en -s 150 -w "$tmp/raw.wav" "the weather is fine today"
    sox "$tmp/raw.wav" -r 16000 -c 1 -b 16 "$tmp/speech.wav" silence 1 0.01 0.5% reverse silence 1 0.01 0.5% reverse
    speech_ms=$(soxi -D "$tmp/speech.wav" | awk '{printf "%d", $1 * 1000}')
    speech_rms=$(sox "$tmp/speech.wav" -n stats 2>&1 | awk '/^RMS lev dB/ { print $4 }')
    sox "$tmp/speech.wav" robust-clean.wav pad "$lead" "$tail"
    total=$(soxi -D robust-clean.wav)
    lead_ms=$(awk -v l="$lead" 'BEGIN { printf "%d", l * 1000 }')
    # Repeatable noise (-R), scaled so its RMS stands snr dB below the speech's.
    sox -R -n -r 16000 -c 1 -b 32 -e floating-point "$tmp/noise.wav" synth "$total" whitenoise
    noise_rms=$(sox "$tmp/noise.wav" -n stats 2>&1 | awk '/^RMS lev dB/ { print $4 }')
    : > robust.txt
    echo "robust-clean.wav $lead_ms $speech_ms clean" >> robust.txt
    for snr in 20 5; do
        gain=$(awk -v s="$speech_rms" -v n="$noise_rms" -v r="$snr" 'BEGIN { printf "%.3f", s - r - n }')
        sox "$tmp/noise.wav" "$tmp/scaled.wav" gain "$gain"
        sox -m -v 1 robust-clean.wav -v 1 "$tmp/scaled.wav" -b 16 "robust-snr$snr.wav"
        echo "robust-snr$snr.wav $lead_ms $speech_ms $snr" >> robust.txt
    done
    cat robust.txt
    [ "$what" = noisy ] && exit 0
fi
: > utterances.txt

# name voice speed lead_s tail_s noise(none|white|brown) level text
while read -r name voice speed lead tail noise level text; do
    espeak-ng -v "$voice" -s "$speed" -w "$tmp/raw.wav" "$text"
    # To 16 kHz mono, the synthesizer's own edge silence trimmed, then padded.
    sox "$tmp/raw.wav" -r 16000 -c 1 -b 16 "$tmp/speech.wav" silence 1 0.01 0.5% reverse silence 1 0.01 0.5% reverse
    speech_ms=$(soxi -D "$tmp/speech.wav" | awk '{printf "%d", $1 * 1000}')
    sox "$tmp/speech.wav" "$tmp/padded.wav" pad "$lead" "$tail"
    if [ "$noise" = none ]; then
        cp "$tmp/padded.wav" "$name.wav"
    else
        total=$(soxi -D "$tmp/padded.wav")
        sox -n -r 16000 -c 1 -b 16 "$tmp/noise.wav" synth "$total" "${noise}noise" vol "$level"
        sox -m "$tmp/padded.wav" "$tmp/noise.wav" -b 16 "$name.wav"
    fi
    lead_ms=$(awk -v l="$lead" 'BEGIN { printf "%d", l * 1000 }')
    echo "$name.wav $lead_ms $speech_ms $text" >> utterances.txt
done <<'LIST'
one en 150 0.6 0.5 none 0 the weather is fine today
two en+f3 140 0.4 0.7 white 0.01 please open the window
three en-us 160 0.8 0.4 brown 0.05 seven eight nine
four en+m3 130 0.5 0.6 white 0.02 where is the station
five en-gb 150 0.7 0.5 none 0 good morning everybody
six en+f2 170 0.3 0.8 brown 0.03 turn left at the corner
LIST
ls -l ./*.wav
cat utterances.txt
