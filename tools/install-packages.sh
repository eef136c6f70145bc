#!/usr/bin/env bash
# Installs the Debian packages of the given lists that are missing; one name per line.
# Asks first if a person is there to answer.
set -euo pipefail

missing=()
if ! command -v dpkg-query > /dev/null; then
  echo "This is not a Debian system. These packages are needed, by their names on Debian 12:"
  cat "$@" | sed 's/^/  /'
  exit 0
fi
mapfile -t packages < <(cat "$@")
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2> /dev/null || true)
  [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

echo "These Debian packages are missing and will be installed:"
printf '%s\n' "${missing[@]}" | sed 's/^/  /'
as_root=()
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo > /dev/null; then
    echo "That requires root, and there is no sudo. As root, run:"
    echo "  apt-get install --no-install-recommends ${missing[*]}"
    exit 1
  fi
  as_root=(sudo)
fi
if [ -t 0 ] && [ -t 1 ]; then
  read -r -p "Continue? [Y/n] " answer
  case "$answer" in
    "" | [Yy]*) ;;
    *) exit 1 ;;
  esac
fi

mkdir -p build
log=build/packages.log
echo "Installing (log: $log) ..."
if ! {
  "${as_root[@]}" apt-get update &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
      apt-get install -y --no-install-recommends "${missing[@]}"
} > "$log" 2>&1; then
  tail -n 20 "$log"
  echo "The packages could not be installed."
  exit 1
fi
