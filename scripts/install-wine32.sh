#!/usr/bin/env bash
# Installs the 32-bit half of Wine beside the 64-bit one; both then run in one prefix. It
# needs packages of a second architecture (i386), which this adds to the machine. Safe to
# re-run: a machine that has it is left alone, without a network call.
#
# The packages of both architectures are taken from the distribution's main suite: a library
# that both need must be the same version in both, and the lists of the other suites may not
# be in step. apt gets a private configuration with the machine's own entry for that suite.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
takes_nothing_more "$@"

is_installed wine32:i386 && exit 0

suite=$(distribution_suite)
make_private_apt
use_suites "$suite"

# An installed library that is newer than the suite's may be replaced by the suite's.
printf 'Package: *\nPin: release n=%s\nPin-Priority: 1001\n' "$suite" >"$apt/preferences"
apt_options+=(-o Dir::Etc::Preferences="$apt/preferences")

say "installing the 32-bit half of Wine: this adds the package architecture i386 to this machine"
say "(libraries that both architectures need come from the suite $suite, also where another suite has newer ones)"
export DEBIAN_FRONTEND=noninteractive
as_root dpkg --add-architecture i386
run "$build/logs/wine32-update.log" as_root apt-get "${apt_options[@]}" update
# The 64-bit half is named, or it would be removed.
run "$build/logs/wine32-install.log" as_root apt-get "${apt_options[@]}" install -y --allow-downgrades \
  --no-install-recommends wine wine64 wine32:i386
