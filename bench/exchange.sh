#!/usr/bin/env bash
# The exchange benchmark with every Java virtual machine found.
#   bench/exchange.sh [BUILD FOLDER] [OPTIONS OF Google Benchmark]
set -uo pipefail
source "$(dirname "$0")/jvms.sh"

build=$(build_folder "${1:-}") || exit 2
shift $(($# > 0 ? 1 : 0))
failed=0
for library in $(jvm_libraries); do
  echo "== $library"
  ZEL_LIBJVM=$library "$build/bench/exchange_bench" "$@" || failed=$((failed + 1))
done
exit $((failed > 0))
