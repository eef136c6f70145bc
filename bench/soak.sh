#!/usr/bin/env bash
# 200,000 sample exchanges with a 64 MB heap in every Java virtual machine found. Prints heap and
# resident memory; fails when either has grown by 5 % or more after the warm-up.
#   bench/soak.sh [BUILD FOLDER] [OPTIONS OF soak]
set -uo pipefail
source "$(dirname "$0")/jvms.sh"

build=$(build_folder "${1:-}") || exit 2
shift $(($# > 0 ? 1 : 0))
failed=0
for library in $(jvm_libraries); do
  echo "== $library"
  ZEL_LIBJVM=$library "$build/bench/soak" "$@" || failed=$((failed + 1))
done
exit $((failed > 0))
