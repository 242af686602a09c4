# What scripts/run and scripts/test share: where things are, and installing what is missing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
root=$PWD

# To compile the product, its service and its tools.
build_packages=(
    g++ cmake ninja-build ccache pkg-config git ca-certificates
    qt6-base-dev qt6-base-private-dev qt6-declarative-dev qt6-svg-dev libgl-dev qcoro-qt6-dev
    libxcb1-dev libxcb-xtest0-dev libxcb-xfixes0-dev libxcb-xinput-dev libxcb-xkb-dev libxcb-res0-dev
    libxkbcommon-x11-dev libxkbcommon-dev libsecret-1-dev libssl-dev libplist-dev
    libxtst-dev libxi-dev libxdamage-dev
    libcpp-httplib-dev nlohmann-json3-dev libsqlite3-dev libpq-dev libhunspell-dev libcurl4-openssl-dev libicu-dev
)
# To use it.
run_packages=(
    qml6-module-qtquick qml6-module-qtquick-window qml6-module-qtqml qml6-module-qtqml-models
    qml6-module-qtqml-workerscript hunspell-en-us libarchive-tools xdg-utils dbus curl
)
# To show it on a machine without a display.
demo_packages=(
    xvfb openbox mousepad dbus gnome-keyring xdotool xclip imagemagick x11-utils x11-xserver-utils
    fonts-dejavu-core python3
)

step() { printf '\n==> %s\n' "$*"; }
die() { printf '\nerror: %s\n' "$*" >&2; exit 1; }

# install_missing PACKAGE…: asks apt only for what dpkg does not have.
install_missing() {
    local missing=() package
    command -v dpkg-query >/dev/null || die "this script installs Debian packages; without dpkg, install by hand: $*"
    for package in "$@"; do
        dpkg-query -W -f='${db:Status-Abbrev}' "$package" 2>/dev/null | grep -q '^ii' || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    step "Installing ${#missing[@]} missing package(s): ${missing[*]}"
    local sudo=()
    if [ "$(id -u)" != 0 ]; then
        command -v sudo >/dev/null || die "installing needs root or sudo; as root: apt-get install ${missing[*]}"
        sudo=(sudo)
    fi
    export DEBIAN_FRONTEND=noninteractive
    "${sudo[@]}" apt-get update -qq || die "apt-get update failed; is the network there?"
    "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null \
        || die "apt-get could not install: ${missing[*]}"
}

# build PRESET [TARGET…]: configures once, then builds.
build() {
    local preset=$1
    shift
    step "Building (preset $preset)"
    cmake --preset "$preset" >"$root/.configure.log" 2>&1 || { cat "$root/.configure.log"; die "cmake --preset $preset failed"; }
    rm -f "$root/.configure.log"
    cmake --build "build/$preset" ${1:+--target "$@"} || die "the build failed"
}
