#!/usr/bin/env bash
# Builds the fuzz targets with clang and runs each for a while. New inputs stay in build/fuzz; an
# input that makes a target fail is kept there too, and its path is shown. Put it into the target's
# folder in tests/fuzz/corpus once the failure is fixed.
#   tools/fuzz.sh [SECONDS] [TARGET...]
set -uo pipefail
cd "$(dirname "$0")/.." || exit

seconds=${1:-10}
shift $(($# > 0 ? 1 : 0))
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  mapfile -t targets < <(ls tests/fuzz/corpus)
fi

command -v clang++ > /dev/null || {
  echo "clang++ is missing; on Debian: apt-get install clang" >&2
  exit 2
}
cmake --preset fuzz > /dev/null || exit 2
cmake --build build/fuzz --parallel "$(nproc)" --target "${targets[@]/%/_fuzz}" || exit 2

statOf() {
  sed -n "s/^stat::$1: *//p" "$folder/log"
}

failed=0
for target in "${targets[@]}"; do
  folder=build/fuzz/found/$target
  mkdir -p "$folder/corpus"
  if "build/fuzz/tests/fuzz/${target}_fuzz" -max_total_time="$seconds" -max_len=4096 -timeout=10 \
    -rss_limit_mb=2048 -print_final_stats=1 -dict="tests/fuzz/dict/$target.dict" \
    -artifact_prefix="$folder/" "$folder/corpus" "tests/fuzz/corpus/$target" \
    > "$folder/log" 2>&1; then
    runs=$(statOf number_of_executed_units)
    peak=$(statOf peak_rss_mb)
    echo "$target: $runs executions in $seconds s, at most $peak MB, nothing found"
  else
    tail -n 40 "$folder/log"
    echo "$target: FAILED (log: $folder/log)"
    failed=$((failed + 1))
  fi
done
exit $((failed > 0))
