#!/usr/bin/env bash
# Runs the libFuzzer targets for a given time each.
#   tools/fuzz.sh <seconds-per-target> [target...]
# Builds an instrumented clang tree in build-fuzz/ (ASan + UBSan + libFuzzer),
# cuts seeds from ../shared/corpus, and runs each target with its seeds and
# kept regression inputs. Findings go to build-fuzz/findings/<target>/, the
# growing corpus to build-fuzz/corpus/<target>/, logs to build-fuzz/logs/.
# Unattended and bounded: no prompt, 2 GiB RSS per target, 10 s per input,
# and a hard stop a little after the requested time. Exits 1 when any target
# found something, 2 on a usage or build problem.
set -uo pipefail

top=$(cd "$(dirname "$0")/.." && pwd)
all_targets=(jet_open workgroup_open analysis_run vba_project vba_decompress profile_reader query_sql jet_sql)

if [[ $# -lt 1 || ! $1 =~ ^[0-9]+$ ]]; then
  echo "usage: $0 <seconds-per-target> [target...]  (targets: ${all_targets[*]})" >&2
  exit 2
fi
seconds=$1
shift
targets=("$@")
[[ ${#targets[@]} -eq 0 ]] && targets=("${all_targets[@]}")
for t in "${targets[@]}"; do
  [[ " ${all_targets[*]} " == *" $t "* ]] || { echo "unknown target: $t" >&2; exit 2; }
done

build="$top/build-fuzz"
shared="${QL_SHARED_DIR:-$top/../shared}"
corpus_files="$shared/corpus/files"
jobs=$(nproc 2>/dev/null || echo 2)
(( jobs > 2 )) && jobs=2

command -v clang++ >/dev/null || { echo "clang++ is not installed (apt-get install clang libclang-rt-dev)" >&2; exit 2; }

instrument="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer"
if ! CC=clang CXX=clang++ cmake -S "$top" -B "$build" -G Ninja \
      -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQL_FUZZ=ON -DQL_BUILD_BENCH=OFF -DQL_BUILD_GUI=OFF \
      -DCMAKE_CXX_FLAGS="$instrument" >"$build.configure.log" 2>&1; then
  cat "$build.configure.log" >&2
  exit 2
fi
rm -f "$build.configure.log"
build_targets=()
for t in "${targets[@]}"; do build_targets+=("fuzz_$t"); done
cmake --build "$build" -j "$jobs" --target "${build_targets[@]}" fuzz_seed_extract >"$build/build.log" 2>&1 \
  || { tail -40 "$build/build.log" >&2; exit 2; }

# Seeds. Jet files are cut to the target's max_len, which keeps the header,
# the catalogue and the first tables of the bigger files.
seeds="$build/seeds"
jet_max=1048576
# The marker names the seed layout: a tree seeded for fewer targets is redone.
if [[ ! -f "$seeds/.done-3" ]]; then
  rm -rf "$seeds"
  mkdir -p "$seeds/jet_open" "$seeds/workgroup_open" "$seeds/analysis_run" "$seeds/profile_reader" \
           "$seeds/query_sql" "$seeds/vba_project" "$seeds/vba_decompress" "$seeds/jet_sql"
  jet_list=()
  if [[ -d $corpus_files ]]; then
    for f in "$corpus_files"/*.mdb "$corpus_files"/*.mdw "$corpus_files"/*.mde "$corpus_files"/*.mda; do
      [[ -f $f ]] || continue
      jet_list+=("$f")
      head -c "$jet_max" "$f" >"$seeds/jet_open/$(basename "$f")"
    done
    # Files without a long-value-heavy tail also make small seeds: the
    # first 16 pages hold the header, the catalogue's definition and often
    # its first data page.
    for f in "${jet_list[@]}"; do
      head -c 65536 "$f" >"$seeds/jet_open/$(basename "$f").head"
      [[ $f == *.mdw ]] || head -c "$jet_max" "$f" >"$seeds/analysis_run/$(basename "$f")"
    done
    # Workgroup + database: a 4-byte length, the workgroup file, the database.
    # Each workgroup file goes with a database of its Jet version (its own
    # secured database where the corpus has one).
    for w in "$corpus_files"/*.mdw; do
      [[ -f $w ]] || continue
      name=$(basename "$w")
      case $name in
        j3_esis.mdw) db=j3_esis_secured.mdb ;;
        j3_mission.mdw) db=j3_contour_cdu_secured.mdb ;;
        j3_*) db=j3_querytest.mdb ;;
        *) db=j4_querytest2003.mdb ;;
      esac
      [[ -f $corpus_files/$db ]] || continue
      size=$(stat -c %s "$w")
      { printf "$(printf '\\x%02x\\x%02x\\x%02x\\x%02x' $((size & 255)) $(((size >> 8) & 255)) \
                 $(((size >> 16) & 255)) $(((size >> 24) & 255)))"
        cat "$w"
        head -c 262144 "$corpus_files/$db"; } >"$seeds/workgroup_open/$name+$db"
    done
    "$build/tests/fuzz/fuzz_seed_extract" "$seeds" "${jet_list[@]}" >"$build/seeds.log" 2>&1 || true
  else
    echo "note: no corpus at $corpus_files; running from the kept inputs only" >&2
  fi
  printf '[Options]\r\nFont=Tahoma\r\n; comment\r\n[Recent Files]\r\nFile1="C:\\a b.mdb"\r\n' >"$seeds/profile_reader/crlf.ini"
  printf '\xef\xbb\xbf[options]\nfont = Arial \nKey=\x27quoted\x27\n[Options]\nFont=Second\n' >"$seeds/profile_reader/bom.ini"
  printf 'SELECT DISTINCTROW TOP 5 a.x & "y" AS z, * FROM a INNER JOIN b ON a.i = b.i WHERE x Like "[a-c]*#" ORDER BY 1 DESC;' >"$seeds/jet_sql/select.sql"
  printf 'TRANSFORM Sum(v) AS s SELECT k FROM t WHERE d Between #1/1/97# And #12/31/97# GROUP BY k PIVOT Format(d, "mmm") In ("jan","feb");' >"$seeds/jet_sql/crosstab.sql"
  touch "$seeds/.done-3"
fi

declare -A max_len=([jet_open]=$jet_max [workgroup_open]=1048576 [analysis_run]=$jet_max [vba_project]=1048576 [vba_decompress]=262144
                    [profile_reader]=8192 [query_sql]=4096 [jet_sql]=4096)

mkdir -p "$build/findings" "$build/logs"
status=0
summary=()
for t in "${targets[@]}"; do
  mkdir -p "$build/corpus/$t" "$build/findings/$t"
  log="$build/logs/$t.log"
  # Findings of earlier runs stay in the folder; only this run's count.
  started="$build/findings/$t/.started"
  touch "$started"
  echo "== $t: ${seconds}s" >&2
  # detect_leaks: a leak is a finding too, but LeakSanitizer cannot run
  # under some sandboxes' ptrace rules; QL_FUZZ_LEAKS=0 turns it off there.
  ASAN_OPTIONS="detect_leaks=${QL_FUZZ_LEAKS:-1}:allocator_may_return_null=1:handle_abort=1" \
  UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1" \
  timeout --kill-after=30 $((seconds + 300)) \
    "$build/tests/fuzz/fuzz_$t" "$build/corpus/$t" "$seeds/$t" "$top/tests/fuzz/regressions/$t" \
      -max_total_time="$seconds" -rss_limit_mb=2048 -malloc_limit_mb=2048 -timeout=10 \
      -max_len="${max_len[$t]}" -print_final_stats=1 -close_fd_mask=3 \
      -artifact_prefix="$build/findings/$t/" </dev/null >"$log" 2>&1
  rc=$?
  execs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' | tail -1)
  rss=$(grep -o 'stat::peak_rss_mb: *[0-9]*' "$log" | grep -o '[0-9]*$' | tail -1)
  found=$(find "$build/findings/$t" -type f ! -name .started -newer "$started" | wc -l)
  summary+=("$t: rc=$rc executions=${execs:-?} peak_rss_mb=${rss:-?} findings=$found")
  if [[ $rc -ne 0 || $found -ne 0 ]]; then
    status=1
    grep -m1 -E 'ERROR: (AddressSanitizer|libFuzzer|LeakSanitizer)|runtime error|SUMMARY' "$log" >&2 || tail -5 "$log" >&2
  fi
done
printf '%s\n' "${summary[@]}"
exit $status
