#!/usr/bin/env bash
# Measures what a value costs on its way into the framework, with every Java virtual machine that is
# installed: from an application of the toolkit, and with rows made before. Arguments: the build
# folder, then options of Google Benchmark. See README.md.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
. "$here/jvms.sh"

build=$(build_folder "${1:-}")
shift || true
for library in $(jvm_libraries); do
  ZEL_LIBJVM=$library "$build/bench/value_bench" "$@"
  ZEL_LIBJVM=$library "$build/bench/value_bench" --prepared "$@"
done
