#!/bin/sh
# run.sh TEST.mjs: one test file in node, with the browser's driver from $REVIEW_MODULES. Exit status: the test's own,
# or 77 where something for it is missing (1 with QUINMARK_REQUIRE_TOOLS=1).

missing() {
    if [ "${QUINMARK_REQUIRE_TOOLS-}" = 1 ]; then
        echo "FAILED: $1 is missing, and QUINMARK_REQUIRE_TOOLS is set" >&2
        exit 1
    fi
    echo "SKIPPED: $1 is missing; run scripts/install-deps.sh" >&2
    exit 77
}

/usr/bin/python3 -B "$(dirname "$0")/../support/sql.py" office --serve </dev/null || exit
command -v node >/dev/null || missing node
[ -x "${CHROMIUM:-/usr/bin/chromium}" ] || missing chromium
for module in playwright-core axe-core; do
    [ -d "$REVIEW_MODULES/node_modules/$module" ] || missing $module
done
mkdir -p "$REVIEW_OUTPUT"
cd "$REVIEW_OUTPUT" && exec node "$1"
