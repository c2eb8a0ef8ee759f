#!/usr/bin/env bash
# Measures how much of the library's behaviour the tests pin down: applies a
# fixed sample of small mutations to src/*/*.cpp, one at a time, rebuilds, runs
# the tests of the mutated file's area and counts the mutants the tests kill.
#
#   scripts/mutants.sh [--seed N] [--size N] [--build DIR] [--list] [--only ID,...]
#
#   --seed N     seed of the sample (default 1); the same seed on the same src/
#                gives the same sample, whatever tests/ holds
#   --size N     mutants in the sample (default 48)
#   --build DIR  build folder (default build/mutants), kept between runs
#   --list       print the sample and exit, without building anything
#   --only IDS   run only these sample slots (e.g. M03,M17), to look into one
#
# Environment: MUTANT_BUDGET_FACTOR (default 3) times the area's clean test
# time, plus 60 s, is how long one mutant's tests may take before the run
# counts as hung (killed).
#
# A mutant whose file does not compile is "stillborn"; one whose object file
# comes out byte-identical to the original (code the preprocessor leaves out,
# or a change the compiler proves makes no difference) is "inert". Both are
# replaced by the next candidate of the same kind, so a tree always gives the
# same sample of live mutants.
#
# Output: the summary on stdout (also DIR/summary.txt) and DIR/result.tsv.
set -uo pipefail
ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
cd "$ROOT" || exit 1

SEED=1
SIZE=48
BUILD=build/mutants
LIST=0
ONLY=""
while [ $# -gt 0 ]; do
  case "$1" in
    --seed) SEED=$2; shift 2 ;;
    --size) SIZE=$2; shift 2 ;;
    --build) BUILD=$2; shift 2 ;;
    --list) LIST=1; shift ;;
    --only) ONLY=",$2,"; shift 2 ;;
    -h | --help) sed -n '2,25p' "$0"; exit 0 ;;
    *) echo "mutants.sh: unknown option $1" >&2; exit 2 ;;
  esac
done

# Which tests run for a mutant in src/<area>/: ctest labels, separated by
# spaces. The service tests drive every area over HTTP, so they run for the
# areas whose code answers requests. Areas missing here run every label below.
declare -A AREA_LABELS=(
  [util]="util service"
  [host]="host service"
  [service]="service"
  [library]="library service"
  [playback]="playback service"
  [endpoints]="endpoints service"
  [discovery]="discovery"
)
ALL_LABELS="util host service library playback endpoints discovery"
# Test programs behind each label (the targets to rebuild).
declare -A LABEL_TARGETS=(
  [discovery]="velora_discovery_tests velora_discovery_no_daemon_tests velora_discovery_daemon_tests"
)
label_targets() { echo "${LABEL_TARGETS[$1]:-velora_$1_tests}"; }

# The load tests run for VELORA_LOAD_SECONDS; two seconds is enough to see a
# wrong reply or a crash under concurrency.
export VELORA_LOAD_SECONDS=${VELORA_LOAD_SECONDS:-2}
export AVAHI_COMPAT_NOWARN=1
BUDGET_FACTOR=${MUTANT_BUDGET_FACTOR:-3}

# Candidate sites, the sample and the edit itself.
read -r -d '' PY <<'EOF'
import hashlib, os, re, sys

SKIP_LINE = re.compile(r'\b(static_assert|assert)\s*\(')
STATUS_NAMES = {'BadRequest': 'Unauthorized', 'Unauthorized': 'BadRequest',
                'NotFound': 'BadRequest', 'Forbidden': 'Unauthorized',
                'InternalError': 'BadRequest', 'NotModified': 'OK', 'OK': 'Accepted',
                'ServiceUnavailable': 'InternalError'}
STATUS_NUMBERS = {'400': '401', '401': '400', '403': '401', '404': '400', '304': '200',
                  '200': '204', '500': '400', '503': '500'}
FLIP = {'<': '<=', '<=': '<', '>': '>=', '>=': '>', '==': '!=', '!=': '==',
        '&&': '||', '||': '&&', 'true': 'false', 'false': 'true'}
# Kinds, in the order the sample takes them round-robin.
KINDS = ['compare', 'equality', 'off-by-one', 'drop-fire', 'drop-lock', 'status',
         'text', 'bool', 'logic']


def h(*parts):
    return hashlib.sha1('\0'.join(str(p) for p in parts).encode()).hexdigest()


def mask(text):
    """Per line: code kept, string/char literals as S, comments and
    preprocessor lines as spaces; plus the string literal spans."""
    out, strings = [], []
    i, n = 0, len(text)
    state = 'code'
    line_start = True
    buf = []
    lit_start = None
    raw_end = None
    while i < n:
        c = text[i]
        if c == '\n':
            if state == 'line':
                state = 'code'
            if state == 'pre' and not (buf and text[i - 1] == '\\'):
                state = 'code'
            out.append(''.join(buf))
            buf = []
            line_start = True
            i += 1
            continue
        if state == 'code':
            if line_start and c == '#' and ''.join(buf).strip() == '':
                state = 'pre'
                buf.append(' ')
            elif text.startswith('//', i):
                state = 'line'
                buf.append(' ')
            elif text.startswith('/*', i):
                state = 'block'
                buf.append('  ')
                i += 2
                line_start = False
                continue
            elif c == 'R' and i + 1 < n and text[i + 1] == '"' and not (buf and (buf[-1].isalnum() or buf[-1] == '_')):
                d = text.index('(', i + 2)
                raw_end = ')' + text[i + 2:d] + '"'
                state = 'raw'
                buf.append('S')
            elif c == '"':
                state = 'str'
                lit_start = (len(out), len(buf))
                buf.append('S')
            elif c == "'" and not (buf and buf[-1].isalnum()):
                state = 'chr'
                buf.append('S')
            else:
                buf.append(c)
            if not c.isspace():
                line_start = False
            i += 1
            continue
        if state in ('line', 'pre'):
            buf.append(' ')
        elif state == 'block':
            if text.startswith('*/', i):
                buf.append('  ')
                state = 'code'
                i += 2
                continue
            buf.append(' ')
        elif state in ('str', 'chr'):
            buf.append('S')
            if c == '\\':
                buf.append('S')
                i += 2
                continue
            if (state == 'str' and c == '"') or (state == 'chr' and c == "'"):
                if state == 'str':
                    strings.append((lit_start[0], lit_start[1], len(buf) - 1))
                state = 'code'
        elif state == 'raw':
            buf.append('S')
            if text.startswith(raw_end, i):
                buf.extend('S' * (len(raw_end) - 1))
                i += len(raw_end)
                state = 'code'
                continue
        i += 1
    out.append(''.join(buf))
    return out, strings


def unreachable(lines):
    """Lines inside #if 0 blocks."""
    dead, depth = set(), 0
    for no, line in enumerate(lines):
        s = line.strip()
        if depth:
            if re.match(r'#\s*if', s):
                depth += 1
            elif re.match(r'#\s*endif', s):
                depth -= 1
            elif depth == 1 and re.match(r'#\s*(else|elif)', s):
                depth = 0
            dead.add(no)
        elif re.match(r'#\s*if\s+0\b', s):
            depth = 1
            dead.add(no)
    return dead


def sites(path):
    text = open(path, encoding='utf-8').read()
    lines = text.split('\n')
    masked, strings = mask(text)
    dead = unreachable(lines)
    found = []

    def add(kind, no, col, old, new, mutated=None):
        line = lines[no]
        if mutated is None:
            mutated = line[:col] + new + line[col + len(old):]
        found.append(dict(kind=kind, file=path, line=no + 1, col=col + 1, old=old, new=new,
                          original=line, mutated=mutated))

    for no, m in enumerate(masked):
        line = lines[no]
        if no in dead or SKIP_LINE.search(m) or not m.strip():
            continue
        for x in re.finditer(r'(?<= )(<=|>=|<|>|==|!=)(?= )', m):
            add('equality' if x.group(1) in ('==', '!=') else 'compare', no, x.start(),
                x.group(1), FLIP[x.group(1)])
        for x in re.finditer(r'(?<= )(&&|\|\|)(?= |$)', m):
            add('logic', no, x.start(), x.group(1), FLIP[x.group(1)])
        for x in re.finditer(r'\b(true|false)\b', m):
            add('bool', no, x.start(), x.group(1), FLIP[x.group(1)])
        for x in re.finditer(r'status_codes::(\w+)', m):
            if x.group(1) in STATUS_NAMES:
                add('status', no, x.start(1), x.group(1), STATUS_NAMES[x.group(1)])
        status_cols = set()
        for x in re.finditer(r'S, (\d{3})\b(?=[,}]|$)', m):
            if x.group(1) in STATUS_NUMBERS:
                status_cols.add(x.start(1))
                add('status', no, x.start(1), x.group(1), STATUS_NUMBERS[x.group(1)])
        sized = re.search(r' (<=|>=|<|>|==|!=) |size\(\)|length\(\)', m)
        for x in re.finditer(r'(?<![\w.])(\d+)(?![\w.\'])', m):
            a, b = m[:x.start()], m[x.end():]
            # A bound: an operand of a comparison, an index, a loop's start,
            # an argument of a call that cuts or sizes, or a term added to
            # either on a line that compares or sizes.
            if x.start() in status_cols or not (
                    re.search(r'(<=|>=|<|>|==|!=) $', a) or re.match(r' (<=|>=|<|>|==|!=) ', b)
                    or (a.endswith('[') and b.startswith(']'))
                    or re.search(r'\bfor \(.*= $', a)
                    or re.search(r'\b(substr|resize|erase|compare|insert|assign)\(([^()]*, )?$', a)
                    or (sized and (re.search(r'[-+] $', a) or re.match(r' [-+] ', b)))):
                continue
            value = int(x.group(1))
            step = 1 if value == 0 or int(h(path, no, x.start()), 16) % 2 else -1
            add('off-by-one', no, x.start(), x.group(1), str(value + step))
        fire = re.search(r'[\w.\->\[\]]*stable_fire\(', m)
        if fire:
            before = m[:fire.start()].rstrip()
            if before == '' or before.endswith((')', 'else', '{', ';')):
                add('drop-fire', no, fire.start(), '', 'while (false) ')
        if re.match(r'\s*std::(lock_guard|unique_lock|scoped_lock)\b.*;\s*$', m) or \
                re.match(r'\s*[\w.\->]+\.unlock\(\);\s*$', m):
            add('drop-lock', no, 0, line.strip(), '', mutated='')
    for no, start, end in strings:
        if no in dead or SKIP_LINE.search(masked[no]):
            continue
        line = lines[no]
        body = line[start + 1:end]
        # The last letter or digit not part of an escape moves one step on.
        for k in range(len(body) - 1, -1, -1):
            ch = body[k]
            if ch.isascii() and ch.isalnum() and not (k and body[k - 1] == '\\'):
                if ch.isdigit():
                    new = str((int(ch) + 1) % 10)
                elif ch in 'zZ':
                    new = chr(ord(ch) - 25)
                else:
                    new = chr(ord(ch) + 1)
                col = start + 1 + k
                add('text', no, start, line[start:end + 1],
                    line[start:col] + new + line[col + 1:end + 1])
                break
    for s in found:
        s['key'] = '%s:%d:%d:%s' % (s['file'], s['line'], s['col'], s['kind'])
    return found


def queues(seed):
    files = sorted(os.path.join(d, f) for d in os.listdir('src') if os.path.isdir(os.path.join('src', d))
                   for f in os.listdir(os.path.join('src', d)) if f.endswith('.cpp'))
    files = ['src/' + f for f in files]
    by_kind = {k: {} for k in KINDS}
    for f in files:
        for s in sites(f):
            by_kind[s['kind']].setdefault(f, []).append(s)
    result = {}
    for kind, per_file in by_kind.items():
        # Files in a seeded order, sites in a seeded order within a file, then
        # one site of each file in turn, so a kind spreads over the files.
        order = sorted(per_file, key=lambda f: h(seed, kind, f))
        lists = [sorted(per_file[f], key=lambda s: h(seed, s['key'])) for f in order]
        q = []
        for r in range(max((len(l) for l in lists), default=0)):
            q.extend(l[r] for l in lists if r < len(l))
        result[kind] = q
    return result


def sample(seed, size, rejected):
    qs = queues(seed)
    pos = {k: 0 for k in KINDS}
    picks = []
    while len(picks) < size and any(pos[k] < len(qs[k]) for k in KINDS):
        for k in KINDS:
            if len(picks) < size and pos[k] < len(qs[k]):
                picks.append(qs[k][pos[k]])
                pos[k] += 1
    used = {s['key'] for s in picks}
    for i, s in enumerate(picks):
        while s['key'] in rejected:
            kinds = [s['kind']] + [k for k in KINDS if k != s['kind']]
            nxt = None
            for k in kinds:
                while pos[k] < len(qs[k]) and qs[k][pos[k]]['key'] in used:
                    pos[k] += 1
                if pos[k] < len(qs[k]):
                    nxt = qs[k][pos[k]]
                    pos[k] += 1
                    break
            if nxt is None:
                break
            used.add(nxt['key'])
            s = picks[i] = nxt
    return picks


def show(s):
    if s['kind'] == 'drop-lock':
        return '%s -> (removed)' % s['old']
    if s['kind'] == 'drop-fire':
        return 'stable_fire -> while (false) stable_fire'
    return '%s -> %s' % (s['old'], s['new'])


cmd = sys.argv[1]
if cmd == 'sample':
    seed, size, rejected_file = sys.argv[2], int(sys.argv[3]), sys.argv[4]
    rejected = set()
    if os.path.exists(rejected_file):
        rejected = set(l.rstrip('\n') for l in open(rejected_file) if l.strip())
    for i, s in enumerate(sample(seed, size, rejected)):
        print('\t'.join(['M%02d' % (i + 1), s['key'], s['file'], str(s['line']), s['kind'],
                         show(s)]))
elif cmd == 'apply':
    seed, size, rejected_file, slot = sys.argv[2], int(sys.argv[3]), sys.argv[4], sys.argv[5]
    rejected = set()
    if os.path.exists(rejected_file):
        rejected = set(l.rstrip('\n') for l in open(rejected_file) if l.strip())
    s = sample(seed, size, rejected)[int(slot[1:]) - 1]
    lines = open(s['file'], encoding='utf-8').read().split('\n')
    assert lines[s['line'] - 1] == s['original'], 'file changed under the sample'
    lines[s['line'] - 1] = s['mutated']
    with open(s['file'], 'w', encoding='utf-8') as f:
        f.write('\n'.join(lines))
EOF

SAMPLE_ARGS=("$SEED" "$SIZE")
if [ "$LIST" = 1 ]; then
  # The sample as drawn; a run replaces stillborn and inert mutants with the
  # next site of the same kind.
  python3 -c "$PY" sample "${SAMPLE_ARGS[@]}" /dev/null | column -t -s $'\t'
  exit $?
fi

if ! git diff --quiet -- src/; then
  echo "mutants.sh: src/ has uncommitted changes (a mutant left behind?); commit or restore them first" >&2
  exit 2
fi

mkdir -p "$BUILD"
BUILD=$(cd "$BUILD" && pwd)
LOGS=$BUILD/logs
mkdir -p "$LOGS"
REJECTED=$BUILD/rejected.txt
RESULT=$BUILD/result.tsv
SUMMARY=$BUILD/summary.txt
: >"$REJECTED"

# The file under mutation and its original text; put back on every exit.
CURRENT=""
BACKUP=$BUILD/original.cpp
restore() {
  if [ -n "$CURRENT" ]; then
    cp "$BACKUP" "$CURRENT"
    CURRENT=""
  fi
}
finish() {
  restore
  if ! git diff --quiet -- src/; then
    echo "mutants.sh: src/ still differs from the last commit after restoring" >&2
    exit 3
  fi
}
trap finish EXIT
trap 'exit 130' INT TERM

if [ ! -f "$BUILD/CMakeCache.txt" ]; then
  cmake -S . -B "$BUILD" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DVELORA_BUILD_HOST=OFF -DVELORA_BUILD_BENCH=OFF \
    -DVELORA_BUILD_TESTS=ON >"$LOGS/configure.log" 2>&1 ||
    { echo "mutants.sh: configure failed, see $LOGS/configure.log" >&2; exit 1; }
fi

targets_for_labels() {
  local label out=""
  for label in "$@"; do out+=" $(label_targets "$label")"; done
  echo "$out"
}
labels_of() { echo "${AREA_LABELS[$1]:-$ALL_LABELS}"; }
label_regex() { local IFS='|'; echo "^($*)\$"; }

# run_tests LOG BUDGET LABEL... : 0 passed, 1 failed, 2 ran out of time.
run_tests() {
  local log=$1 budget=$2
  shift 2
  timeout -k 10 "$budget" ctest --test-dir "$BUILD" -L "$(label_regex "$@")" -j2 \
    --stop-on-failure --no-tests=error --output-on-failure >"$log" 2>&1
  case $? in
    0) return 0 ;;
    124 | 137) return 2 ;;
    *) return 1 ;;
  esac
}

# The first test that failed in a ctest log, or the tests still running when
# the time ran out.
first_failure() {
  local log=$1 name
  name=$(grep -E '^ *[0-9]+/[0-9]+ Test +#[0-9]+: ' "$log" | grep -v ' Passed ' |
    grep -vE '\*\*\*Not Run' | head -n 1 | sed -E 's/^.*Test +#[0-9]+: ([^ ]+).*$/\1/')
  if [ -z "$name" ]; then
    name=$(grep -E '^ *Start +[0-9]+: ' "$log" | sed -E 's/^ *Start +[0-9]+: //' | while read -r t; do
      grep -qE "Test +#[0-9]+: $t " "$log" || echo "$t"
    done | head -n 1)
    [ -n "$name" ] && name="$name (hung)"
  fi
  echo "${name:-(ctest failed, see log)}"
}

# The clean tree: every area's tests must pass before a failure can mean a
# killed mutant. Their times set each area's budget.
echo "== clean build and tests ($BUILD)"
# shellcheck disable=SC2046
if ! cmake --build "$BUILD" -j2 --target $(targets_for_labels $ALL_LABELS) >"$LOGS/clean-build.log" 2>&1; then
  echo "mutants.sh: the clean tree does not build, see $LOGS/clean-build.log" >&2
  exit 1
fi
declare -A LABEL_SECONDS
for label in $ALL_LABELS; do
  start=$SECONDS
  if ! run_tests "$LOGS/clean-$label.log" 1800 "$label"; then
    echo "mutants.sh: the $label tests fail on the clean tree ($(first_failure "$LOGS/clean-$label.log")), see $LOGS/clean-$label.log" >&2
    exit 1
  fi
  LABEL_SECONDS[$label]=$((SECONDS - start))
  echo "   $label: ${LABEL_SECONDS[$label]}s"
done
declare -A CLEAN_OBJECT
for obj in "$BUILD"/CMakeFiles/velora_core.dir/src/*/*.cpp.o; do
  CLEAN_OBJECT[$obj]=$(sha1sum <"$obj")
done

printf 'id\tfile\tline\tkind\tmutation\toutcome\tkilled_by\tseconds\n' >"$RESULT"
killed=0 survived=0 stillborn=0 inert=0
survivors=()
sample_row() { python3 -c "$PY" sample "$SEED" "$SIZE" "$REJECTED" | sed -n "${1}p"; }

for ((slot = 1; slot <= SIZE; slot++)); do
  id=$(printf 'M%02d' "$slot")
  if [ -n "$ONLY" ] && [[ "$ONLY" != *",$id,"* ]]; then continue; fi
  while :; do
    row=$(sample_row "$slot")
    [ -z "$row" ] && break
    IFS=$'\t' read -r id key file line kind change <<<"$row"
    start=$SECONDS
    printf '%s %s:%s %-10s %s ... ' "$id" "$file" "$line" "$kind" "$change"
    cp "$file" "$BACKUP"
    CURRENT=$file
    python3 -c "$PY" apply "$SEED" "$SIZE" "$REJECTED" "$id" || exit 1
    obj=$BUILD/CMakeFiles/velora_core.dir/$file.o
    mlog=$LOGS/$id.log
    outcome="" by=""
    if ! cmake --build "$BUILD" --target "$file.o" >"$mlog" 2>&1; then
      outcome=stillborn
    elif [ "$(sha1sum <"$obj")" = "${CLEAN_OBJECT[$obj]:-}" ]; then
      outcome=inert
    fi
    if [ -n "$outcome" ]; then
      restore
      # The slot's replacement writes its own log; keep this one's beside it.
      mv "$mlog" "$LOGS/$id-$outcome-$(grep -c . "$REJECTED").log"
      echo "$outcome"
      printf '%s\t%s\t%s\t%s\t%s\t%s\t\t%s\n' "$id" "$file" "$line" "$kind" "$change" "$outcome" \
        $((SECONDS - start)) >>"$RESULT"
      echo "$key" >>"$REJECTED"
      [ "$outcome" = stillborn ] && stillborn=$((stillborn + 1)) || inert=$((inert + 1))
      continue
    fi
    area=${file#src/}
    area=${area%%/*}
    read -r -a labels <<<"$(labels_of "$area")"
    budget=60
    for label in "${labels[@]}"; do budget=$((budget + BUDGET_FACTOR * ${LABEL_SECONDS[$label]:-60})); done
    # shellcheck disable=SC2046
    if ! cmake --build "$BUILD" -j2 --target $(targets_for_labels "${labels[@]}") >>"$mlog" 2>&1; then
      outcome=killed by="(test program build)"
    else
      run_tests "$LOGS/$id-ctest.log" "$budget" "${labels[@]}"
      case $? in
        0) outcome=survived ;;
        *) outcome=killed by=$(first_failure "$LOGS/$id-ctest.log") ;;
      esac
    fi
    restore
    if [ "$outcome" = killed ]; then
      killed=$((killed + 1))
      echo "killed by $by ($((SECONDS - start))s)"
    else
      survived=$((survived + 1))
      survivors+=("$(printf '%s %s:%s %s: %s' "$id" "$file" "$line" "$kind" "$change")")
      echo "SURVIVED ($((SECONDS - start))s)"
    fi
    printf '%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\n' "$id" "$file" "$line" "$kind" "$change" "$outcome" \
      "$by" $((SECONDS - start)) >>"$RESULT"
    break
  done
done

total=$((killed + survived))
{
  echo "== mutants: seed $SEED, size $SIZE, labels per area: $(for a in "${!AREA_LABELS[@]}"; do printf '%s=%s; ' "$a" "${AREA_LABELS[$a]// /+}"; done)"
  if [ "$total" -gt 0 ]; then
    printf 'killed %d/%d (%s%%)\n' "$killed" "$total" "$(awk -v k="$killed" -v t="$total" 'BEGIN { printf "%.1f", 100 * k / t }')"
  else
    echo "killed 0/0"
  fi
  echo "stillborn $stillborn, inert $inert (replaced)"
  echo "survivors:"
  for s in "${survivors[@]}"; do echo "  $s"; done
  echo "result: $RESULT"
} | tee "$SUMMARY"
