# Sourced by the other scripts: goes to the top of the tree and brings what a Debian machine lacks.

cd "$(dirname "${BASH_SOURCE[0]}")/.."

# Builds go through ccache where there is one.
if command -v ccache >/dev/null; then
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi

# Installs those of the named Debian packages that are not there; touches nothing when all are.
install_missing() {
  local package missing=() as_root=()
  if ! command -v dpkg-query >/dev/null; then
    echo "not a Debian system: these packages are taken to be there: $*" >&2
    return
  fi
  for package in "$@"; do
    if [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | head -c 9) != installed ]]; then
      missing+=("$package")
    fi
  done
  ((${#missing[@]})) || return 0
  ((EUID == 0)) || as_root=(sudo)
  echo "installing ${missing[*]}" >&2
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq update >&2
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -y --no-install-recommends \
    -o Dpkg::Use-Pty=0 install "${missing[@]}" >&2
}

# Configures and builds a preset. The log of a configuration is shown only when it failed.
build() {
  local preset=$1
  mkdir -p "build/$preset"
  if ! cmake --preset "$preset" >"build/$preset/configure.log" 2>&1; then
    cat "build/$preset/configure.log" >&2
    return 1
  fi
  cmake --build --preset "$preset" "${@:2}"
}
