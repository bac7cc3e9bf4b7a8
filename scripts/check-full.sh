# The steps of ./check full; sourced by it. Cheap steps stand first.

# Folders with code of ours.
code_dirs=()
for dir in vantiflux apps examples tests bench fuzz; do
  [[ -d $dir ]] && code_dirs+=("$dir")
done

check_format() {
  find "${code_dirs[@]}" \( -name '*.h' -o -name '*.cpp' \) -print0 | xargs -0 clang-format-16 --dry-run -Werror
}

# Programs under the thread sanitizer need the address layout that it knows. Newer kernels randomise more than it expects.
fixed_layout=()
if setarch "$(uname -m)" -R true 2>/dev/null; then
  fixed_layout=(setarch "$(uname -m)" -R)
fi
build_tsan() {
  cmake --preset tsan >/dev/null && "${fixed_layout[@]}" cmake --build --preset tsan -j "$jobs"
}

# Runs the tests of a preset and adds what ctest counts to the sum.
passed=0
failed=0
run_tests() {
  local preset=$1 log=build/$1/ctest.log status=0
  shift
  "$@" ctest --preset "$preset" 2>&1 | tee "$log" || status=$?
  local counts
  counts=$(sed -n 's/.*% tests passed, \([0-9]*\) tests failed out of \([0-9]*\)$/\1 \2/p' "$log")
  [[ -n $counts ]] || return 1
  failed=$((failed + ${counts% *}))
  passed=$((passed + ${counts#* } - ${counts% *}))
  return "$status"
}

fuzz() {
  local target name found
  for target in build/clang/fuzz/fuzz_*; do
    [[ -x $target && -f $target ]] || continue
    name=${target##*/fuzz_}
    found=build/clang/fuzz/found/$name
    mkdir -p "$found" "fuzz/corpus/$name"
    echo "fuzzing $name for ${FUZZ_SECONDS:-8} s"
    # New inputs go to the build folder. A crash leaves its input there as well.
    # The same inputs each time: chance finds belong to longer runs by hand.
    "$target" -seed=1 -max_total_time="${FUZZ_SECONDS:-8}" -timeout=20 -rss_limit_mb=3000 -print_final_stats=1 \
      -artifact_prefix="$found/" "$found" "fuzz/corpus/$name" >"build/clang/fuzz/$name.log" 2>&1 || {
      cat "build/clang/fuzz/$name.log"
      return 1
    }
    sed -n 's/^stat::number_of_executed_units: */  inputs tried: /p' "build/clang/fuzz/$name.log"
  done
}

# The benches belong to the release build here: what they run is compiled already.
build_release() {
  cmake --preset release -DVANTIFLUX_BENCH=ON >/dev/null && cmake --build --preset release -j "$jobs"
}

step "Format" check_format
step "Build (release and bench)" build_release
step "Tests (release), benches start" run_tests release
step "Headers compile alone" build release all_verify_interface_header_sets
step "Package" scripts/check-package.sh build/release
step "Build (asan)" build asan
step "Tests (asan)" run_tests asan
step "Build (tsan)" build_tsan
step "Tests (tsan)" run_tests tsan "${fixed_layout[@]}"
step "Build (clang, thread-safety analysis)" build clang
step "clang-tidy" scripts/tidy.py build/clang vantiflux apps fuzz
step "Fuzzing" fuzz

printf '\n'
printf '%s\n' "${steps[@]}"
printf '%6d s  in all\n\n%d passed, %d failed\n' "$SECONDS" "$passed" "$failed"
