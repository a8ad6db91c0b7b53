#!/bin/sh
# The library must export only the six functions, and must be linked to its three libraries.
set -eu
[ "$(nm -D --defined-only "$1" | awk '{print $3}' | sort | tr '\n' ' ')" = \
    "Close IOCTL Load Open Unload Write " ]
for library in libportaudio libasound libtinyxml; do
    readelf -d "$1" | grep -q "NEEDED.*\[$library"
done
