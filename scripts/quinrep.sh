#!/usr/bin/env bash
# quinrep on the two databases that the demo has left: brings the test bed up, runs the command, takes it down again.
#
#   quinrep.sh COMMAND [ARGUMENT...]      for example: review, conflicts list --json, verify, run --ready
#
# Exit status: quinrep's own (docs/quinrep.md).
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
# shellcheck source=scripts/testbed.sh
source "$repoRoot/scripts/testbed.sh"

[[ -f $binaries/quinrep.exe && -f $repoRoot/build/demo/quinrep.toml ]] || die -3 'run scripts/demo.sh first'
startTestbed
registerServers
[[ ${1-} != review ]] || set -- "$@" --no-browser # the address is for a browser of this system
exec > >(sed -u 's/\r$//') # as this system ends its lines
runInterruptible wine "$binaries/quinrep.exe" -c build/demo/quinrep.toml "$@"
