#!/usr/bin/env bash
# Builds with ThreadSanitizer and runs the tests that need no JVM; a real one can't be instrumented.
# Arguments go to ctest, for example: tools/check-tsan.sh -R unit.zelclient
set -euo pipefail
cd "$(dirname "$0")/.."

tools/install-packages.sh tools/packages.txt tools/packages-test.txt
cmake --preset tsan > /dev/null
cmake --build build/tsan --target unit_tests --parallel "$(nproc)"
exec ctest --test-dir build/tsan --parallel "$(nproc)" --output-on-failure --timeout 300 \
  -L '^unit$' -LE '^java$' "$@"
