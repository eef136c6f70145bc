#!/usr/bin/env bash
set -uo pipefail
cd "$(dirname "$0")/.." || exit

usage() {
  cat << 'END'
Reads the sources without running them. Each finding is one line: file, line, what is wrong and
what to do about it. The status is 0 when there is none.

  tools/lint.sh [--fix] [--all] [--tree FOLDER] [RULE...]

Rules; without one, all of them:
  format     the layout of C++ sources is that of clang-format
  includes   folders include each other as docs/architecture.md allows
  packages   no packages of Java need each other in a circle
  shell      what shellcheck finds in shell scripts
  clang      Clang's warnings, its thread safety analysis, and clang-tidy (.clang-tidy)

  --fix      mends the format, and reports nothing of it
  --all      the rule clang reads also what it found clean before and is unchanged
  --tree     reads another tree than this one

The rule clang takes the commands from build/dev, which is configured first if need be.
END
}

tools=$PWD/tools
tree=$PWD
fix=
all=()
rules=()
while [ $# -gt 0 ]; do
  case $1 in
    -h | --help) usage && exit ;;
    --fix) fix=yes ;;
    --all) all=(--all) ;;
    --tree)
      tree=$(cd "${2:?--tree needs a folder}" && pwd) || exit 2
      shift
      ;;
    format | includes | packages | shell | clang) rules+=("$1") ;;
    *)
      echo "tools/lint.sh: $1 is neither an option nor a rule; --help lists them" >&2
      exit 2
      ;;
  esac
  shift
done
[ ${#rules[@]} -gt 0 ] || rules=(format includes packages shell clang)
cd "$tree" || exit

# files GLOB...: the tree's files with such names, without what is built or fetched; each ends with
# a zero byte.
files() {
  local names=()
  for name in "$@"; do
    names+=(-o -name "$name")
  done
  find . -type d \( -name build -o -name .git -o -name node_modules \) -prune -o \
    -type f \( "${names[@]:1}" \) -print0 | sort -z
}

# Three lines of clang-format for each place, of which the first says it all.
format() {
  if [ -n "$fix" ]; then
    files '*.h' '*.cpp' | xargs -0 -r -P "$(nproc)" -n 40 clang-format -i
    return
  fi
  files '*.h' '*.cpp' | xargs -0 -r -P "$(nproc)" -n 40 clang-format --dry-run 2>&1 |
    sed -nE 's|^\./||; s|^([^:]*:[0-9]+):[0-9]+: .*clang-format-violations.*|\1: is not laid out as clang-format does: tools/lint.sh --fix format|p' |
    sort -u | fail_if_any
}

fail_if_any() { ! grep .; }

includes() { python3 -B "$tools/lint/includes.py" "$tree"; }

packages() {
  local trees=()
  for source in java/toolkit/src java/jmx/src; do
    [ -d "$source" ] && trees+=("$source")
  done
  python3 -B "$tools/lint/java_packages.py" "${trees[@]}"
}

shell() {
  local scripts
  mapfile -t scripts < <(files '*' |
    xargs -0 -r awk 'FNR == 1 { if (FILENAME ~ /\.sh$/ || /^#!.*[\/ ](ba)?sh( |$)/) print FILENAME; nextfile }')
  [ ${#scripts[@]} -eq 0 ] || shellcheck --external-sources --source-path=SCRIPTDIR --source-path=. \
    --format=gcc "${scripts[@]#./}" |
    sed -E 's|^([^:]*:[0-9]+):[0-9]+: (.*) \[SC([0-9]+)\]$|\1: \2 [SC\3]: mend it, or say why not beside "# shellcheck disable=SC\3"|'
}

clang() {
  local build=$tree/build/dev
  if [ ! -e "$build/compile_commands.json" ]; then
    cmake --preset dev > /dev/null || return
  fi
  if [ -e "$build/build.ninja" ]; then
    cmake --build "$build" --target agentfw_page > /dev/null || return
  fi
  python3 -B "$tools/lint/clang_checks.py" "${all[@]}" "$tree" "$build"
}

failed=()
for rule in "${rules[@]}"; do
  start=$SECONDS
  "$rule" || failed+=("$rule")
  echo "$rule: $((SECONDS - start)) s" >&2
done
if [ ${#failed[@]} -gt 0 ]; then
  echo "lint: ${failed[*]} failed" >&2
  exit 1
fi
