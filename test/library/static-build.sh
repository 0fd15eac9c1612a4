#!/usr/bin/env bash
# BUILD_SHARED_LIBS=OFF gives a static library: static-build.sh CMAKE CXX PROJECT FOLDER
set -euo pipefail
cmake=$1 cxx=$2 project=$3 folder=$4
"$cmake" -S "$project" -B "$folder" -DCMAKE_CXX_COMPILER="$cxx" -DBUILD_SHARED_LIBS=OFF \
    -DSQLWRAPPER_BUILD_TESTS=OFF -DSQLWRAPPER_BUILD_EXAMPLES=OFF >/dev/null
"$cmake" --build "$folder" --target sqlwrapper >/dev/null
test -f "$folder/components/sql/sqlwrapper/libsqlwrapper.a"
