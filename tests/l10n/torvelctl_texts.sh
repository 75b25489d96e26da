#!/usr/bin/env bash
# torvelctl's words as a Linux laptop owner reads them: in English no notion of another platform, and under the
# pseudo-locale no text that escaped the catalogue. Arguments: torvelctl, the source tree.
set -uo pipefail
# sed and grep below work on UTF-8 text whatever the caller's locale; each run of torvelctl sets its own.
export LC_ALL=C.UTF-8
unset LANGUAGE LC_MESSAGES
torvelctl=$1
source_dir=$2
export TORVEL_ROOT="$source_dir/samples/datadir"
export TORVEL_SYSFS="$source_dir/tests/fixtures/power_supply/thinkpad_discharging"
now=1763900020
commands=(
    "status --now $now --service-installed yes"
    "status --now $now --service-installed no"
    "journal --now $now"
    "journal --now $now --range month"
    "checkup --now $now --service-installed yes"
    "checkup --now $now --service-installed no"
    "report --now $now --service-installed yes"
    "battery"
    "--help"
    "set --help"
    "probe"
    "probe --daemon /nonexistent"
    "topup"
    "uninstall --all"
)
status=0

for command in "${commands[@]}"; do
    # shellcheck disable=SC2086
    output=$(LC_ALL= LC_MESSAGES= LANGUAGE= LANG=en_US.UTF-8 "$torvelctl" $command 2>&1)
    if found=$(grep -n -E '\bMac\b|macOS|MagSafe|\bDock\b|menu bar|Applications folder|System Settings' <<<"$output"); then
        echo "torvelctl $command names another platform in English:" >&2
        echo "$found" >&2
        status=1
    fi
done

# What is left once every marked text is taken out: dates spelled by ICU, paths, command, option and setting
# names, and the charge mode the service reports are values, not texts. The report and the battery listing print files and sysfs
# attributes as they are, so they are left out here.
allowed='^(Monday|Tuesday|Wednesday|Thursday|Friday|Saturday|Sunday|January|February|March|April|May|June|July|August|September|October|November|December|AM|PM|status|journal|checkup|report|set|topup|calibrate|battery|probe|install|uninstall|locale|version|enabled|limit|discharge|led|blinkSeconds|thermal|thermalLimit|topUp|topUpHours|hysteresis|history|historyDays|thresholds)$'
for command in "${commands[@]:0:6}" "${commands[@]:8}"; do
    # shellcheck disable=SC2086
    output=$("$torvelctl" --locale pseudo $command 2>&1)
    left=$(sed -E ':a; s/⟦[^⟦⟧]*⟧//g; ta; s#/[^ ]*##g' <<<"$output" | grep -oE '[A-Za-z][A-Za-z’-]+' | grep -v -E "$allowed")
    if [[ -n "$left" ]]; then
        echo "torvelctl $command prints text that is not in the catalogue: $(tr '\n' ' ' <<<"$left")" >&2
        status=1
    fi
done

# The locale from the environment reaches texts and numbers alike: French puts a space before the per cent sign.
# shellcheck disable=SC2086
french=$(LC_ALL= LC_MESSAGES= LANGUAGE= LANG=fr_FR.UTF-8 "$torvelctl" status --now $now --service-installed yes)
if ! grep -q $'80\u202f%\|80\u00a0%' <<<"$french"; then
    echo "LANG=fr_FR.UTF-8 did not reach the percentages: $(head -n 1 <<<"$french")" >&2
    status=1
fi
exit "$status"
