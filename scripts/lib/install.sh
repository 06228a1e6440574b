# shellcheck shell=bash
# Installs what a script needs on Debian. Source it, then call need_packages with the names of the packages.

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

# need_packages NAME...: installs those that are missing; returns non-zero when one cannot be had.
need_packages() {
    local name missing=()
    for name in "$@"; do
        have_package "$name" || missing+=("$name")
    done
    [ "${#missing[@]}" -eq 0 ] && return 0
    if ! command -v apt-get >/dev/null; then
        echo "$(basename "$0"): missing, and there is no apt-get to install it: ${missing[*]}" >&2
        return 1
    fi
    echo "installing: ${missing[*]}"
    local quiet=(env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o Dpkg::Use-Pty=0
        -o DPkg::Lock::Timeout=120)
    # The lists may be absent (a fresh container) or old; they are fetched once, when the first try fails.
    if ! as_root "${quiet[@]}" install --no-install-recommends "${missing[@]}" >/tmp/tesselu-install.$$ 2>&1; then
        as_root "${quiet[@]}" update >/dev/null || true
        if ! as_root "${quiet[@]}" install --no-install-recommends "${missing[@]}" \
            >/tmp/tesselu-install.$$ 2>&1; then
            tail -n 5 /tmp/tesselu-install.$$ >&2
            rm -f /tmp/tesselu-install.$$
            return 1
        fi
    fi
    rm -f /tmp/tesselu-install.$$
}
