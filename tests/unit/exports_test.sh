#!/bin/sh
# exports_test.sh LIBRARY HEADER: the library exports its entry points, which the header declares,
# and nothing else.
set -eu

expected='LoadAgents
zelAgentStart
zelAgentStop
zelWaitForAgentShutdown'

exported=$(nm -D --defined-only "$1" | awk '{print $3}' | LC_ALL=C sort)
if [ "$exported" != "$expected" ]; then
  printf 'exported:\n%s\nexpected:\n%s\n' "$exported" "$expected"
  exit 1
fi

declared=$(sed -n 's/^ZEL_API .* \([A-Za-z]*\)(.*/\1/p' "$2" | LC_ALL=C sort)
if [ "$declared" != "$expected" ]; then
  printf 'declared:\n%s\nexpected:\n%s\n' "$declared" "$expected"
  exit 1
fi
