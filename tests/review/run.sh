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

if [ -z "${QUINMARK_OFFICE_DSN-}" ] || [ "${QUINMARK_SERVER-}" = sqlserver ]; then
    echo 'SKIPPED: QUINMARK_OFFICE_DSN does not name the private PostgreSQL' >&2
    [ "${QUINMARK_REQUIRE_DATABASE-}" != 1 ] || [ "${QUINMARK_SERVER-}" = sqlserver ] || exit 1
    exit 77
fi
command -v node >/dev/null || missing node
command -v psql >/dev/null || missing psql
[ -x "${CHROMIUM:-/usr/bin/chromium}" ] || missing chromium
[ -d "$REVIEW_MODULES/node_modules/playwright-core" ] || missing playwright-core
mkdir -p "$REVIEW_OUTPUT"
cd "$REVIEW_OUTPUT" && exec node "$1"
