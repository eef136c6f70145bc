#!/usr/bin/env bash
# Malformed messages from Java against the library: under AddressSanitizer with a fake virtual
# machine, and with every Java virtual machine found.
#   tools/attack/malformed.sh [MESSAGES] [SEED]
set -uo pipefail
cd "$(dirname "$0")/../.." || exit
source bench/jvms.sh

export ZEL_ATTACK_MESSAGES=${1:-100000}
export ZEL_ATTACK_SEED=${2:-20260101}
echo "$ZEL_ATTACK_MESSAGES messages each, seed $ZEL_ATTACK_SEED"

for preset in asan dev; do
  cmake --preset $preset > /dev/null || exit 2
done
cmake --build build/asan --target malformed_messages_test > /dev/null || exit 2
cmake --build build/dev --target flood_jvm_test > /dev/null || exit 2

failed=0
# run NAME COMMAND...: shows the output only of a failure.
run() {
  local name=$1 start=$SECONDS log
  shift
  log=$(mktemp)
  if timeout 3600 "$@" > "$log" 2>&1; then
    echo "$name: passed in $((SECONDS - start)) s"
  else
    tail -n 40 "$log"
    echo "$name: FAILED"
    failed=$((failed + 1))
  fi
  rm -f "$log"
}

run "fake virtual machine, AddressSanitizer" build/asan/tests/faults/malformed_messages_test
for library in $(jvm_libraries); do
  run "$library" env ZEL_TEST_JVM="$library" build/dev/tests/jvm/flood_jvm_test
done
exit $((failed > 0))
