#!/bin/sh
# Fails when a folder includes one it must not: the module's folders include
# neither the stand-in host nor stephost, and host/ includes nothing of
# stephost/, which builds on it.
set -eu
cd "$(dirname "$0")/.."
status=0
refuse() {
    folders=$1
    pattern=$2
    # shellcheck disable=SC2086
    if found=$(git grep -n -E "^[[:space:]]*#[[:space:]]*include[[:space:]]*[\"<]($pattern)/" -- $folders); then
        echo "$found"
        echo "error: $folders must not include $pattern/" >&2
        status=1
    fi
}
refuse "module runtime parameters execution steps" "host|stephost"
refuse "host" "stephost"
[ "$status" -eq 0 ] && echo "ok: the module's folders include neither host/ nor stephost/, host/ includes no stephost/"
exit "$status"
