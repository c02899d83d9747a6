#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Runs a command beside a panorama service on a free port.
# Usage: with_service.sh PELORIN COMMAND [ARG...]   where "{url}" in an ARG becomes the service's URL
set -eu
pelorin=$1
shift
line=$(mktemp)
"$pelorin" serve --port 0 >"$line" &
service=$!
trap 'kill $service 2>/dev/null || true; rm -f "$line"' EXIT
# The service prints its line once it takes connections.
until grep -q '"url"' "$line"; do
  kill -0 $service
  sleep 0.05
done
url=$(sed -n 's/.*"url":"\([^"]*\)".*/\1/p' "$line")
count=$#
while [ "$count" -gt 0 ]; do
  arg=$1
  shift
  case $arg in
    *'{url}'*) arg=${arg%%'{url}'*}$url${arg#*'{url}'} ;;
  esac
  set -- "$@" "$arg"
  count=$((count - 1))
done
"$@"
