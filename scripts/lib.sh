# shellcheck shell=bash
# Functions of ./run and ./test. Sourced in the root folder of the repository.

# No colours, because the output is often read as a file.
export GCC_COLORS='' CLICOLOR=0 NO_COLOR=1

say() {
    printf '==> %s\n' "$*"
}

fail() {
    printf 'Error: %s\n' "$*" >&2
    exit 1
}

# Prints the packages of the given groups of scripts/packages.txt.
packages_of() {
    awk -v wanted=" $* " '
        { sub(/#.*/, ""); gsub(/[ \t]/, "") }
        /^\[.*\]$/ { taken = index(wanted, " " substr($0, 2, length($0) - 2) " ") > 0; next }
        taken && NF' scripts/packages.txt
}

# Prints those of the given packages that are not installed.
missing_packages() {
    comm -23 <(printf '%s\n' "$@" | sort) \
        <(dpkg-query --show --showformat='${db:Status-Abbrev}${Package}\n' "$@" 2>/dev/null |
            sed -n 's/^ii //p' | sort -u)
}

as_root() {
    if [[ $EUID -eq 0 ]]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        fail "Packages are missing and there is no sudo. As root: apt-get install $missing"
    fi
}

# Installs the missing packages of the given groups. Uses the network only if one is missing.
install_packages() {
    command -v dpkg-query >/dev/null || fail 'This needs Debian 12 or a system derived from it.'
    local -a packages
    mapfile -t packages < <(packages_of "$@")
    local missing
    missing=$(missing_packages "${packages[@]}" | paste -sd' ')
    if [[ -z $missing ]]; then
        say "All ${#packages[@]} packages are installed ($*)"
        return
    fi
    say "Installing $missing"
    as_root apt-get update -qq
    # shellcheck disable=SC2086 # a list of words
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -qq --yes \
        --no-install-recommends $missing </dev/null >/dev/null
}

# Configures and builds a preset: build_preset PRESET [TARGET]
build_preset() {
    cmake --preset "$1" >/dev/null
    cmake --build "build/$1" --target "${2:-all}"
}

# Runs a command as a stage and records its time: stage NAME COMMAND [ARGUMENT]...
stage() {
    local name=$1 begin=$SECONDS status
    shift
    say "$name"
    set +e # the command is not part of a condition, which would switch off its set -e
    (
        set -e
        "$@"
    )
    status=$?
    set -e
    stage_times+=("$(printf '%4d s  %s' $((SECONDS - begin)) "$name")")
    [[ $status -eq 0 ]] || stage_times[-1]+=' (failed)'
    return "$status"
}

stage_times=()

# Prints how long each stage took.
print_stages() {
    say 'Times'
    printf '%s\n' "${stage_times[@]}" "$(printf '%4d s  total' "$SECONDS")"
}
