# What demo, test and bench/run share: packages, configuring and building. Sourced, with `root` set to the
# folder of the checkout. Messages go to standard error, so that a program's own output can be piped.

say() { printf '== %s\n' "$*" >&2; }

# packages GROUP...: the packages of packages.txt in these groups.
packages() {
    local group
    for group in "$@"; do
        awk -v group="$group" '$1 == group { print $2 }' "$root/packages.txt"
    done
}

# missing_packages GROUP...: those of them that are not installed.
missing_packages() {
    local package
    for package in $(packages "$@"); do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || printf '%s\n' "$package"
    done
}

# need_packages GROUP...: installs what is missing, or ends with the exact command that would.
need_packages() {
    if ! command -v dpkg-query >/dev/null; then
        say "not a Debian system: these must be there already: $(packages "$@" | tr '\n' ' ')"
        return
    fi
    local missing as_root=()
    missing=$(missing_packages "$@" | tr '\n' ' ')
    [ -n "$missing" ] || return 0
    if [ "$(id -u)" != 0 ]; then
        if sudo -n true 2>/dev/null; then
            as_root=(sudo -n)
        else
            say "packages are missing, and this user may not install them. Run, then try again:"
            printf 'sudo apt-get update && sudo apt-get install -y --no-install-recommends %s\n' "$missing" >&2
            exit 3
        fi
    fi
    say "installing $missing"
    "${as_root[@]}" apt-get -qq update >&2
    # shellcheck disable=SC2086 # one word per package
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends $missing >&2
}

# build_preset PRESET FOLDER [TARGET...]: configures once and builds what has changed.
build_preset() {
    local preset=$1 folder=$2
    shift 2
    if [ ! -f "$root/$folder/build.ninja" ]; then
        say "configuring $folder"
        (cd "$root" && cmake --preset "$preset") >&2
    fi
    say "bringing $folder up to date"
    ninja -C "$root/$folder" "$@" >&2
}
