#!/usr/bin/env bash
# What a value costs on its way into the framework, in every Java virtual machine found: from an
# application of the toolkit, and with prepared rows.
#   bench/value.sh [BUILD FOLDER] [OPTIONS OF Google Benchmark]
set -uo pipefail
source "$(dirname "$0")/jvms.sh"

build=$(build_folder "${1:-}") || exit 2
shift $(($# > 0 ? 1 : 0))
failed=0
for library in $(jvm_libraries); do
  echo "== $library"
  for rows in "" --prepared; do
    ZEL_LIBJVM=$library "$build/bench/value_bench" $rows "$@" || failed=$((failed + 1))
  done
done
exit $((failed > 0))
