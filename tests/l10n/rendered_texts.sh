#!/usr/bin/env bash
# What the app draws, read back from its item tree: every page of the main window, the panel, each first-run
# screen and the charger's arrival, rendered offscreen. Under the pseudo-locale every text must come from the
# catalogue; in English none may name another platform's notions.
#
# Usage: rendered_texts.sh TORVEL SOURCE_DIR [--update]
# --update rewrites tests/l10n/rendered_escapes.txt with the texts that escape the catalogue today.
set -uo pipefail
export LC_ALL=C.UTF-8
unset LANGUAGE LC_MESSAGES LANG
torvel=$1
source_dir=$2
update=${3:-}
escapes="$source_dir/tests/l10n/rendered_escapes.txt"
export TORVEL_ROOT="$source_dir/samples/datadir"
export TORVEL_SYSFS="$source_dir/tests/fixtures/power_supply/laptop_charging"
export TORVEL_UNIT_STATE=enabled
export QT_QPA_PLATFORM=offscreen QT_SCALE_FACTOR=1
# This test reads texts; under the sanitizers, what the offscreen renderer leaves allocated at exit is not its
# subject (the app's own tests look for leaks).
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

screens=(
    "panel|--panel"
    "today|--settings today"
    "settings|--settings settings"
    "mac|--settings mac"
    "memory|--settings memory"
    "calibration|--settings calibration"
    "arrival|--arrival"
)
for step in welcome service installFailed awaitingApproval handOver tuning "done" checking unsupported probeFailed; do
    screens+=("onboarding $step|--onboarding --step $step")
done

# Writes "screen<TAB>text" lines for every screen under one locale.
render() {
    local locale=$1 out=$2 screen name switches
    : >"$out"
    for screen in "${screens[@]}"; do
        name=${screen%%|*}
        switches=${screen#*|}
        : >"$scratch/texts"
        # shellcheck disable=SC2086
        if ! TORVEL_SCREENSHOT_TEXTS="$scratch/texts" "$torvel" --locale "$locale" \
            --screenshot "$scratch/picture.png" $switches >"$scratch/log" 2>&1; then
            echo "torvel could not render the $name under $locale:" >&2
            cat "$scratch/log" >&2
            return 1
        fi
        sed "s/^/$name\t/" "$scratch/texts" >>"$out"
    done
    # The help as one text: its wrap can fall inside a marked text. The switches' own names, and the N of a
    # count, are typed, not read.
    "$torvel" --locale "$locale" --help | tr '\n' ' ' |
        sed -E 's/(^| )--?[a-z]+,?/ /g; s/<N>//; s/[<>]//g; s/^/help\t/; s/$/\n/' >>"$out"
}

# A text escapes when, its marked parts taken out, words are left that are not a number's unit or a date's
# month, weekday or half-day (the locale's own formats spell those, not the catalogue), nor the name of a
# file, unit or command a user copies as it stands. Digits read as # so that a text holding a time or a
# count stays the same entry from one run to the next.
units='%|h|min|s|ms|d|W|Wh|mWh|mAh|mA|V|mV|A|°C|°F|am|pm|AM|PM'
dates='Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Sept|Oct|Nov|Dec|January|February|March|April|June|July|August'
dates+='|September|October|November|December|Mon|Tue|Wed|Thu|Fri|Sat|Sun|Monday|Tuesday|Wednesday|Thursday'
dates+='|Friday|Saturday|Sunday'
names='"?/[^ ]*"?|[a-z0-9_-]+\.[a-z]+|torvelctl|sudo|pkexec'
# Writes "entry<TAB>screen<TAB>text" for each text found by a check: unmarked ones, or in English the ones
# naming another platform's notions.
unmarked() {
    local screen text rest
    while IFS=$'\t' read -r screen text; do
        [[ "$text" =~ ^($names)( |$) ]] && continue
        rest=$(sed -E ':a; s/⟦[^⟦⟧]*⟧//g; ta' <<<"$text" | tr ' ' '\n' | grep -vxE "$names" |
            grep -oE '[[:alpha:]°]+' | grep -vxE "$units|$dates")
        [[ -n "$rest" ]] && printf 'escapes: %s\t%s\t%s\n' "$(sed -E 's/[0-9]+/#/g' <<<"$text")" "$screen" "$text"
    done
}
naming_platform() {
    grep -E '\bMac\b|macOS|MagSafe|\bDock\b|menu bar|Applications folder|System Settings' |
        awk -F '\t' '{ e = $2; gsub(/[0-9]+/, "#", e); print "platform: " e "\t" $1 "\t" $2 }'
}

render pseudo "$scratch/pseudo" || exit 1
render en "$scratch/en" || exit 1
{
    unmarked <"$scratch/pseudo"
    naming_platform <"$scratch/en"
} >"$scratch/found"
cut -f 1 "$scratch/found" | LC_ALL=C sort -u >"$scratch/entries"

if [[ "$update" == --update ]]; then
    {
        echo "# What the app still draws outside the catalogue (escapes:, under the pseudo-locale) and, in English,"
        echo "# names another platform's notions (platform:); one text a line, digits as #. Each entry is a text"
        echo "# for core's words to take over; the list is meant to end empty. tests/l10n/rendered_texts.sh reads"
        echo "# it; from the source tree, after building torvel, regenerate it with:"
        echo "#   tests/l10n/rendered_texts.sh build/default/app/torvel . --update"
        cat "$scratch/entries"
    } >"$escapes"
    echo "rendered_texts: $(wc -l <"$scratch/entries") entries written to $escapes"
    exit 0
fi

status=0
known=$(grep -v '^#' "$escapes" 2>/dev/null | LC_ALL=C sort -u)
new=$(LC_ALL=C comm -23 "$scratch/entries" <(echo "$known"))
if [[ -n "$new" ]]; then
    echo "Drawn outside the catalogue (escapes) or naming another platform in English (platform):" >&2
    awk -F '\t' 'NR == FNR { new[$0]; next } $1 in new && !seen[$1]++ { split($1, kind, ":"); print "  " kind[1] ", " $2 ": " $3 }' \
        <(echo "$new") "$scratch/found" >&2
    status=1
fi
gone=$(LC_ALL=C comm -13 "$scratch/entries" <(echo "$known") | grep -c .)
if ((gone > 0)); then
    echo "Note: $gone entries of $escapes are gone from the app; regenerate it (see its header)." >&2
fi
exit "$status"
