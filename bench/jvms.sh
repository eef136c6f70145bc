# shellcheck shell=bash
# What the scripts of this folder share. Sourced.

# The build folder: the argument, or build/bench. Complains when nothing was built there.
build_folder() {
  local folder=${1:-$(dirname "${BASH_SOURCE[0]}")/../build/bench}
  if [ ! -x "$folder/bench/soak" ] || [ ! -x "$folder/bench/exchange_bench" ]; then
    echo "nothing built in $folder; see bench/README.md" >&2
    return 1
  fi
  (cd "$folder" && pwd)
}

# The libraries of the virtual machines: the one that ZEL_LIBJVM names, or all installed ones.
jvm_libraries() {
  if [ -n "${ZEL_LIBJVM:-}" ]; then
    echo "$ZEL_LIBJVM"
    return
  fi
  local library
  for library in /usr/lib/jvm/*/lib/server/libjvm.so; do
    [ -e "$library" ] && readlink -f "$library"
  done | sort -u
}
