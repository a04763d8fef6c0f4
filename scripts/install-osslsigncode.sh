#!/usr/bin/env bash
# Installs an osslsigncode that signs identity packages: from the distribution's backports
# where the main suite has an older one, as Debian 12 has. Safe to re-run: a machine that has
# it is left alone, without a network call.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
answer_help "$@"
takes_nothing_more "$@"

# The oldest version that this was tried with; 2.5 signs programs and installation packages only.
wanted=2.9
installed=$(dpkg-query -W -f='${Version}' osslsigncode 2>/dev/null || true)
[ -z "$installed" ] || dpkg --compare-versions "$installed" lt "$wanted" || exit 0

backports="$(distribution_suite)-backports"
make_private_apt
use_suites "$(distribution_suite) $backports"
say "installing osslsigncode from the suite $backports"
export DEBIAN_FRONTEND=noninteractive
run "$build/logs/osslsigncode-update.log" as_root apt-get "${apt_options[@]}" update
run "$build/logs/osslsigncode-install.log" as_root apt-get "${apt_options[@]}" install -y \
  --no-install-recommends -t "$backports" osslsigncode
