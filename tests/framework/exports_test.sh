#!/bin/sh
# exports_test.sh LIBRARY HEADERS: what the library exports is what the headers declare.
set -eu

exported=$(nm -D --defined-only "$1" | awk '{print $3}')
demangled=$(nm -DC --defined-only "$1" | cut -d' ' -f3-)

strangers=$(printf '%s\n' "$demangled" | grep -vE \
  '^((RAS1|BSS1|RES1|PFM1|SIG1|KDH1|IRA)_[A-Za-z0-9_]+$|kramain$|agentfw::|(TableManager|vuira|VuiraAutomationCapsule)::|(typeinfo|typeinfo name|vtable) for (agentfw::Exception|agentfw::host::CallGuard|TableManager|vuira)$)' \
  || true)
if [ -n "$strangers" ]; then
  echo "exported, but not of the seam:"
  echo "$strangers"
  exit 1
fi

# C functions: a declaration begins in the first column with AGENTFW_API.
declared=$(sed -n 's/^AGENTFW_API .*[ *]\([A-Za-z0-9_]*\)(.*/\1/p' "$2"/*.h |
  grep -E '^((RAS1|BSS1|RES1|PFM1|SIG1|KDH1|IRA)_|kramain)' | sort -u)
[ "$(printf '%s\n' "$declared" | wc -l)" -ge 30 ] || { echo "declarations not found"; exit 1; }
missing=0
for name in $declared; do
  printf '%s\n' "$exported" | grep -qx "$name" || { echo "declared, but not exported: $name"; missing=1; }
done
exit $missing
