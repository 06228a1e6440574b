# shellcheck shell=bash
# Installs what a script needs on Debian. Source it, then call need_packages with the names of the packages. A script that
# builds calls use_compiler_cache before it runs cmake.

have_package() {
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        echo "$(basename "$0"): this needs root: $* (run as root, or install sudo)" >&2
        return 1
    fi
}

apt_get() {
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o Dpkg::Use-Pty=0 -o DPkg::Lock::Timeout=120 "$@"
}

# need_packages NAME...: installs those that are missing; returns non-zero when one cannot be had.
need_packages() {
    local name missing=() log status=0
    for name in "$@"; do
        have_package "$name" || missing+=("$name")
    done
    [ "${#missing[@]}" -eq 0 ] && return 0
    if ! command -v apt-get >/dev/null; then
        echo "$(basename "$0"): missing, and there is no apt-get to install it: ${missing[*]}" >&2
        return 1
    fi
    echo "installing: ${missing[*]}"
    log=$(mktemp) || return 1
    # The lists may be absent (a fresh container) or old; they are fetched when the first try fails.
    if ! apt_get install --no-install-recommends "${missing[@]}" >"$log" 2>&1; then
        apt_get update >/dev/null 2>&1 || true
        apt_get install --no-install-recommends "${missing[@]}" >"$log" 2>&1 || status=1
        [ $status -eq 0 ] || tail -n 5 "$log" >&2
    fi
    rm -f "$log"
    return $status
}

# use_compiler_cache: objects that builds share, and those of the next run, are compiled once. Called at the top of the tree.
use_compiler_cache() {
    need_packages ccache >/dev/null 2>&1 || return 0
    export CCACHE_DIR=${CCACHE_DIR:-$PWD/.cache/ccache} CMAKE_CXX_COMPILER_LAUNCHER=ccache
}
