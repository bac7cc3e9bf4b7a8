# Shared by ./run and ./check; sourced, never run. The current directory is the root of the tree.

# The caches live outside the tree. Relative paths in them let a fresh clone somewhere else profit too.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1

jobs=$(nproc)

# install_missing FILE...: installs those packages of the lists that this machine lacks.
install_missing() {
  local package missing=()
  while read -r package; do
    [[ $(dpkg-query -W -f='${db:Status-Abbrev}' "$package" 2>/dev/null) == ii* ]] || missing+=("$package")
  done < <(sed -e 's/#.*//' -e '/^[[:space:]]*$/d' "$@")
  ((${#missing[@]} > 0)) || return 0

  local as_root=()
  if ((EUID != 0)); then
    command -v sudo >/dev/null || { echo "These packages are missing and sudo is not there: ${missing[*]}" >&2; return 1; }
    as_root=(sudo)
  fi
  echo "Installing ${missing[*]}"
  "${as_root[@]}" apt-get update -qq
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# step TITLE COMMAND...: a headline, the command, and how long it took. A failure ends the script. Inside a function that
# is run by it, bash does not stop at a failing line by itself: such functions join their lines with && or return.
steps=()
step() {
  local title=$1 begin=$SECONDS
  shift
  printf '\n== %s\n' "$title"
  "$@" || { printf '\n== FAILED: %s (%d s)\n' "$title" $((SECONDS - begin)) >&2; exit 1; }
  printf '== %s: ok, %d s\n' "$title" $((SECONDS - begin))
  steps+=("$(printf '%6d s  %s' $((SECONDS - begin)) "$title")")
}

# build PRESET [TARGET...]
build() {
  local preset=$1
  shift
  cmake --preset "$preset" >/dev/null && cmake --build --preset "$preset" -j "$jobs" ${@:+--target "$@"}
}
