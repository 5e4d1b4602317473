# Read by bench/throughput and bench/growth, in the checkout: installs what they need, and builds the
# program and its load. KEM_BUILD names a build that exists already.
# shellcheck shell=sh

sandbox/install-tools build run test bench
if [ -z "${KEM_BUILD:-}" ]; then
  export KEM_BUILD=build-bench
  cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DWITH_TESTS=OFF \
    -DWITH_BENCHMARKS=ON -DCMAKE_COMPILE_WARNING_AS_ERROR=ON >/dev/null
  cmake --build build-bench --target autoresponder_program load timed_sink shares >/dev/null
fi
