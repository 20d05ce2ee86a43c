#!/usr/bin/env bash
# Mutation check: how many of a fixed list of small faults in the libraries
# the test suites catch.
#
#   scripts/mutate.sh [--list] [--check] [--only N,N,...] [BUILD_DIR]
#
# Each mutant replaces one exact text of one source file (found exactly once,
# or the script stops). It is applied to the working tree, the libraries are
# rebuilt (BUILD_DIR, default build-mut, configured here when it is not yet:
# Release, test hooks on, ccache, and test programs not relinked when only
# libPI or libRVX changed), every CTest test runs until the first failure,
# and the file is put back, also on error or Ctrl-C. A mutant is killed when
# a test fails or times out, or when it does not compile (listed apart).
#
#   --list   print the mutants and exit
#   --check  only check that every anchor is found exactly once
#   --only   run only the mutants with these numbers (1-based)
#
# MUTATE_JOBS (2) sets build and ctest parallelism, MUTATE_TIMEOUT (120) the
# per-test timeout of tests that set none, MUTATE_RUN_TIMEOUT (1200) a bound
# on one mutant's whole test run, MUTATE_EXCLUDE a ctest -E regular
# expression of tests left out. The unmutated suite runs first and must pass.
# MUTATE_HINTS names the output of an earlier run: a mutant killed there
# first runs only the test that killed it, and the whole suite only when
# that test passes now, which gives the same verdicts much sooner.
set -uo pipefail

source_dir=$(cd "$(dirname "$0")/.." && pwd)
jobs=${MUTATE_JOBS:-2}
test_timeout=${MUTATE_TIMEOUT:-120}
run_timeout=${MUTATE_RUN_TIMEOUT:-1200}
exclude=${MUTATE_EXCLUDE:-}
hints=${MUTATE_HINTS:-}
mode=run
only=
build=

while [ $# -gt 0 ]; do
  case $1 in
  --list) mode=list ;;
  --check) mode=check ;;
  --only) only=$2; shift ;;
  -h | --help) sed -n '2,22p' "$0"; exit 0 ;;
  *) build=$1 ;;
  esac
  shift
done
build=${build:-$source_dir/build-mut}

FILES=()
ANCHORS=()
REPLACEMENTS=()
mutant() { FILES+=("$1"); ANCHORS+=("$2"); REPLACEMENTS+=("$3"); }

# ---- Drive identity, formatting, help and sense look-ups ----
mutant Src/Helper/DriveIdentity.cpp \
  'model.size() >= 4 && IsDecimalDigit(model[3])' 'model.size() >= 4 && !IsDecimalDigit(model[3])'
mutant Src/Helper/DriveIdentity.cpp \
  'product.substr(3, 2)' 'product.substr(2, 2)'
mutant Src/Helper/DriveIdentity.cpp \
  'if (serial.size() >= 9)' 'if (serial.size() > 9)'
mutant Src/Helper/DriveIdentity.cpp \
  'if (rpm <= 5000)' 'if (rpm < 5000)'
mutant Src/Helper/Formatting.cpp \
  'if (scaled < 1.0L)' 'if (scaled <= 1.0L)'
mutant Src/Helper/Formatting.cpp \
  'if (first >= end)' 'if (first > end)'
mutant Src/Helper/Formatting.cpp \
  'if (i != first)' 'if (i == first)'
mutant Src/Helper/Formatting.cpp \
  'if (conform) {' 'if (!conform) {'
mutant Src/Helper/HelpIcons.cpp \
  'media == MEDIA_TYPE_SSD' 'media != MEDIA_TYPE_SSD'
mutant Src/Helper/HelpIcons.cpp \
  $'    out.Empty();\n    if (found.text == nullptr)' $'    if (found.text == nullptr)'
mutant Src/Helper/Sense.cpp \
  'kSenseKeyRows[key & 0x0F]' 'kSenseKeyRows[key & 0x07]'
mutant Src/Helper/Sense.cpp \
  $'    text.clear();\n    const Detail::FoundText' $'    const Detail::FoundText'

# ---- Configuration file ----
mutant Src/Config/ConfigFile.cpp \
  "std::replace(section.begin(), section.end(), '=', '_');" ''
mutant Src/Config/ConfigFile.cpp \
  'if (section != DEFAULT_SECTION) {' 'if (section == DEFAULT_SECTION) {'

# ---- Platform: base64, INI documents and files, markup, format, cipher ----
mutant platform/src/Base64.cpp \
  'i + 3 <= length; i += 3' 'i + 3 < length; i += 3'
mutant platform/src/Base64.cpp \
  '(q[2] == kPad && q[3] != kPad)' '(q[2] == kPad && q[3] == kPad)'
mutant platform/src/Base64.cpp \
  '(!last && q[3] == kPad)' '(last && q[3] == kPad)'
mutant platform/src/Base64.cpp \
  "if (c >= 'a' && c <= 'z')" "if (c >= 'a' && c < 'z')"
mutant platform/src/IniFileDocument.cpp \
  "return c == ' ' || c == '\t';" "return c == ' ';"
mutant platform/src/IniFileDocument.cpp \
  "return c == ';' || c == '#';" "return c == ';';"
mutant platform/src/IniFileDocument.cpp \
  'if (Bom && (lines.empty()' 'if (!Bom && (lines.empty()'
mutant platform/src/IniFile.cpp \
  'if (static_cast<unsigned long long>(info.st_size) > INI_MAX_FILE_SIZE)' \
  'if (static_cast<unsigned long long>(info.st_size) >= INI_MAX_FILE_SIZE)'
mutant platform/src/Markup.cpp \
  "const bool named = name != nullptr && *name != '\0';" "const bool named = name != nullptr && *name == '\0';"
mutant platform/src/Markup.cpp \
  'if (!impl.Parent || impl.Parent == impl.Document)' 'if (!impl.Parent || impl.Parent != impl.Document)'
mutant platform/src/FormatStream.cpp \
  "if (m_Format[1] == '%') {" "if (m_Format[1] != '%') {"
mutant platform/src/AES.cpp \
  "if (c >= 'A' && c <= 'F')" "if (c >= 'A' && c < 'F')"
mutant platform/src/AES.cpp \
  "text[text.Length() - 1] == ')'" "text[text.Length() - 1] != ')'"

# ---- Records: lists, events, logical drives ----
mutant Src/Objects/Object.cpp \
  $'void CObject::AddChild(unsigned long long id) {\n    Children.push_back(id);' \
  $'void CObject::AddChild(unsigned long long id) {\n    Parents.push_back(id);'
mutant Src/Objects/Operation.cpp \
  $'void COperation::ClearEvents() {\n    Events.clear();' $'void COperation::ClearEvents() {'
mutant Src/Objects/Event.cpp \
  $'Text3(other.Text3), Scalar6(other.Scalar6) {\n    for (unsigned int slot = 0; slot < PLACEHOLDER_COUNT; ++slot)' \
  $'Text3(other.Text3), Scalar6(other.Scalar6) {\n    for (unsigned int slot = 1; slot < PLACEHOLDER_COUNT; ++slot)'
mutant Src/Shared/PI/Internal/EventRawAccess.h \
  "stored.size() >= 3 && stored[1] == ':'" "stored.size() >= 2 && stored[1] == ':'"
mutant Src/Objects/LogicalDrive.cpp \
  'return ObjectID < other.ObjectID;' 'return ObjectID > other.ObjectID;'
mutant Src/Objects/LogicalDrive.cpp \
  "return *text == '-' ? 0ull - value : value;" "return *text == '+' ? 0ull - value : value;"
mutant Src/Objects/LogicalDrive.cpp \
  'ReadIdList(markup, "DedicatedHotSpares", "Drive", DHS);' 'ReadIdList(markup, "DedicatedHotSpares", "Drive", GHS);'
mutant Src/Objects/LogicalDriveScan.h \
  '(size == 20 && std::memcmp' '(size == 21 && std::memcmp'

# ---- Property values: ranges, checks and their order ----
mutant Src/Objects/Property.cpp \
  'else if (value < maximum)' 'else if (value > maximum)'
mutant Src/Objects/Property.cpp \
  'if (noBlockWhenEmpty && dataSize == 0)' 'if (!noBlockWhenEmpty && dataSize == 0)'
mutant Src/Objects/Property.cpp \
  $'    if (list.empty())\n        return RESULT_EMPTY_LIST;\n' ''
mutant Src/Objects/Property.cpp \
  'if (SubType == PROPERTY_SUBTYPE_ENCRYPTED) {' 'if (SubType != PROPERTY_SUBTYPE_ENCRYPTED) {'
mutant Src/Objects/Property.cpp \
  $'CProperty::~CProperty() {\n    if (Data != nullptr)\n        Internal::FreeBlock(Data);\n' \
  $'CProperty::~CProperty() {\n'
mutant Src/Objects/PropertyRead.cpp \
  'if (p.Type != type)' 'if (p.Type != type && p.Data != nullptr)'
mutant Src/Objects/PropertyRead.cpp \
  'SplitSize / 4 < words ?' 'SplitSize / 4 > words ?'
mutant Src/Objects/PropertyRead.cpp \
  $'        if (any)\n            joined += ", ";' $'        if (!any)\n            joined += ", ";'
mutant Src/Objects/PropertyRead.cpp \
  'for (size_t i = 1; i < words; ++i)' 'for (size_t i = 1; i <= words; ++i)'
mutant Src/Objects/PropertyRead.cpp \
  'value = Word<std::uint32_t>(Data) != 0;' 'value = Word<std::uint32_t>(Data) == 0;'

# ---- Sense data: descriptors, sense-key specific fields, progress ----
mutant Src/Helper/SenseData.cpp \
  'd.Size - 2 < DescriptorMinimum(d.Type)' 'd.Size - 2 <= DescriptorMinimum(d.Type)'
mutant Src/Helper/SenseData.cpp \
  'd.Progress = BigEndian16(&b[6]);' 'd.Progress = BigEndian16(&b[5]);'
mutant Src/Helper/SenseData.cpp \
  'if (at + 1 >= end) {' 'if (at + 2 >= end) {'
mutant Src/Helper/SenseData.cpp \
  'if (end >= 18)' 'if (end > 18)'
mutant Src/Helper/SenseData.cpp \
  '(b[9] << 8) | b[7];' '(b[7] << 8) | b[9];'
mutant Src/Helper/SenseDescribe.cpp \
  '* 10000ul / 65536ul' '* 10000ul / 65535ul'
mutant Src/Helper/SenseDescribe.cpp \
  'out.Either(f.Command, "CDB", "parameter data");' 'out.Either(!f.Command, "CDB", "parameter data");'

# ---- Health, look-ups, levels and tasks ----
mutant Src/Helper/Health.cpp \
  'if (word.empty() || !IsJudgement(row.Health))' 'if (word.empty() || !IsJudgement(HEALTH_OK))'
mutant Src/Helper/Health.cpp \
  'text = Trimmed(text);' ''
mutant Src/Objects/Lookup.cpp \
  'if (object.ObjectType == type)' 'if (object.ObjectType != type)'
# operator== of the records: a task's object part, and the members left out.
mutant Src/Shared/PI/Internal/RecordDescription.h \
  'same = d.Of(a).Object == d.Of(b).Object;' 'same = true;'
mutant Src/Shared/PI/Internal/RecordDescription.h \
  'if (!same || !d.Compared)' 'if (!same)'

# ---- Markup parse options, cipher key file ----
mutant platform/src/Markup.cpp \
  "if (absent('\t') && absent('\n'))" "if (absent('\t'))"
mutant platform/src/AES.cpp \
  $'    while (length > 0 && IsBlank(content.Bytes[length - 1]))\n        --length;\n' ''

# ---- Interchange form: numbers, blocks, tokenizers ----
mutant Src/Interchange/Decode.cpp \
  'm_At->Negative >= -0x80000000ll' 'm_At->Negative > -0x80000000ll'
mutant Src/Interchange/Decode.cpp \
  'std::fabs(number) >= kFloatLimit' 'std::fabs(number) > kFloatLimit'
mutant Src/Interchange/Decode.cpp \
  '(seen >> M_DATA_SIZE & 1) != 0 && dataSize != bytes.size()' 'false && dataSize != bytes.size()'
mutant Src/Interchange/Encode.cpp \
  'for (size_t i = 1; i <= count; ++i)' 'for (size_t i = 1; i < count; ++i)'
mutant Src/Interchange/Encode.cpp \
  'm_Sink.BeginArray(static_cast<uint32_t>(total - first));' 'm_Sink.BeginArray(static_cast<uint32_t>(total));'
mutant Src/Interchange/JsonTokens.cpp \
  'if (m_Open.size() >= INTERCHANGE_MAX_DEPTH) {' 'if (m_Open.size() > INTERCHANGE_MAX_DEPTH) {'
mutant Src/Interchange/MsgPackTokens.cpp \
  'if (offset != length) {' 'if (offset > length) {'
mutant Src/Interchange/PropertyForm.cpp \
  'return size >= 8 && size % 4 == 0 ? nullptr' 'return size >= 4 && size % 4 == 0 ? nullptr'

# ---- Differences and patches ----
mutant Src/Diff/Diff.cpp \
  $'        taken[i] = 1;\n        *entry = next[i - prefix];' $'        taken[i] = 1;'
mutant Src/Diff/Patch.cpp \
  "(step.size() > 1 && step[0] == '0')" "(step.size() > 2 && step[0] == '0')"
mutant Src/Diff/Patch.cpp \
  $'            if (oldState[index] != 0)\n                p.Fail' $'            if (false)\n                p.Fail'
mutant Src/Diff/ChangeList.cpp \
  'if (Carries(change.Kind, member) && !present)' 'if (false && !present)'

# ---- INI files: the writers' lock and the stale temporaries ----
mutant platform/src/IniFile.cpp \
  'if (::flock(fd, LOCK_EX | LOCK_NB) == 0)' 'if (::flock(fd, LOCK_SH | LOCK_NB) == 0)'
mutant platform/src/IniFile.cpp \
  'RemoveStaleTemps(directory, name);' 'static_cast<void>(&RemoveStaleTemps);'

# ---- Metrics and the check plugin ----
mutant Src/Monitoring/Exposition.cpp \
  "if (length == 1 && (*c == '\\\\' || *c == '\"'))" "if (length == 1 && *c == '\\\\')"
mutant Src/Monitoring/Exposition.cpp \
  "return c == '\\\\' || c == '\"' || c == '\\n' ||" "return c == '\\\\' || c == '\"' ||"
mutant Src/Monitoring/Exposition.cpp \
  '[&out] { out += kReplacement; });' '[] {});'
mutant Src/Monitoring/Exposition.cpp \
  'out += "NaN";' 'out += "nan";'
mutant Src/Monitoring/Metrics.cpp \
  'if (mark == m_Round)' 'if (mark == m_Round && false)'
mutant Src/Monitoring/Metrics.cpp \
  'if (seen.insert(object.ObjectID).second)' 'if (seen.insert(object.ObjectID).second || true)'
mutant Src/Monitoring/Metrics.cpp \
  'const bool current = value == name.value;' 'const bool current = value != name.value;'
mutant Src/Monitoring/Metrics.cpp \
  'static_cast<double>(drive.GHS.size())' 'static_cast<double>(drive.DHS.size())'
mutant Src/Monitoring/Check.cpp \
  'const bool within = value >= Start && value <= End;' 'const bool within = value > Start && value <= End;'
mutant Src/Monitoring/Check.cpp \
  'if (hasCritical && critical.Alerts(value))' 'if (hasCritical && !critical.Alerts(value))'
mutant Src/Monitoring/Check.cpp \
  'values[failed ? DRIVES_FAILED : DRIVES_WARNING] += 1;' 'values[failed ? DRIVES_WARNING : DRIVES_FAILED] += 1;'
# ---- Redfish view ----
mutant Src/Redfish/View.cpp \
  'm_Spares.emplace(spare, "Global");' 'm_Spares.emplace(spare, "Dedicated");'
mutant Src/Redfish/View.cpp \
  'else if (spare != m_Spares.end() && !member)' 'else if (spare != m_Spares.end() && member)'
mutant Src/Redfish/View.cpp \
  'm_Scratch += "\xEF\xBF\xBD";' 'm_Scratch += text[at];'
mutant Src/Redfish/View.cpp \
  'return m_DriveAdapter.at(d) !=' 'return m_DriveAdapter.at(d) =='
mutant Src/Redfish/View.cpp \
  'return static_cast<int>(done * 100 /' 'return static_cast<int>(done * 101 /'
mutant Src/Redfish/Tables.cpp \
  '{5, "RAID5"}' '{5, "RAID6"}'

count=${#FILES[@]}

# Replaces the anchor of mutant $1 in its file; exit 3 when it is not there
# exactly once. With $2 = check, only counts.
apply() {
  python3 - "$source_dir/${FILES[$1]}" "${ANCHORS[$1]}" "${REPLACEMENTS[$1]}" "${2:-apply}" <<'EOF'
import sys
path, anchor, replacement, mode = sys.argv[1:5]
text = open(path, encoding="utf-8").read()
found = text.count(anchor)
if found != 1:
    sys.stderr.write(f"{path}: anchor found {found} times, not once: {anchor!r}\n")
    sys.exit(3)
if mode == "apply":
    open(path, "w", encoding="utf-8").write(text.replace(anchor, replacement))
EOF
}

describe() {
  local a=${ANCHORS[$1]//$'\n'/ } r=${REPLACEMENTS[$1]//$'\n'/ }
  a=$(echo "$a" | tr -s ' ')
  r=$(echo "$r" | tr -s ' ')
  printf '%s: "%s" -> "%s"' "${FILES[$1]}" "$a" "${r:-(dropped)}"
}

if [ "$mode" = list ]; then
  for ((i = 0; i < count; ++i)); do
    printf '%2d %s\n' $((i + 1)) "$(describe $i)"
  done
  exit 0
fi

bad=0
for ((i = 0; i < count; ++i)); do
  apply $i check || bad=1
done
if [ $bad -ne 0 ]; then
  echo "mutate.sh: some anchors are not found exactly once" >&2
  exit 2
fi
if [ "$mode" = check ]; then
  echo "all $count anchors found exactly once"
  exit 0
fi

backup=$(mktemp -d)
current=
restore() {
  if [ -n "$current" ]; then
    cp "$backup/file" "$source_dir/$current"
    current=
  fi
}
trap 'restore; rm -rf "$backup"' EXIT
trap 'restore; exit 130' INT TERM HUP

if [ ! -f "$build/CMakeCache.txt" ]; then
  cmake -S "$source_dir" -B "$build" -DCMAKE_BUILD_TYPE=Release -DPI_TEST_HOOKS=ON \
    -DCMAKE_LINK_DEPENDS_NO_SHARED=ON \
    -DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache >/dev/null || exit 2
fi

build_all() { cmake --build "$build" -j "$jobs" >"$backup/build.log" 2>&1; }
# A mutant changes only libPI or libRVX; nothing else is relinked against them.
build_libraries() { cmake --build "$build" -j "$jobs" --target PI RVX >"$backup/build.log" 2>&1; }
# The test that killed mutant $1 in the hints' run, if one did.
hinted_killer() {
  [ -n "$hints" ] || return 0
  awk -v n="$1" '$1 == n && $2 == "KILLED" { want = 1; next }
    want && /KILLED by (the hinted |[0-9]+ - )/ {
      sub(/.*KILLED by (the hinted |[0-9]+ - )/, ""); sub(/ \(.*/, ""); print; exit }
    { want = 0 }' "$hints"
}
# Whether test $1 exists, is not left out, and fails.
one_test_fails() {
  local args=(--test-dir "$build" --timeout "$test_timeout" --output-on-failure
    -R "^$(printf '%s' "$1" | sed 's/[][\.*^$+?(){}|]/\\&/g')\$")
  [ -n "$exclude" ] && args+=(-E "$exclude")
  timeout "$run_timeout" ctest "${args[@]}" >"$backup/test.log" 2>&1
  grep -qE 'tests passed, [1-9][0-9]* tests failed out of' "$backup/test.log"
}
run_tests() {
  local args=(--test-dir "$build" -j "$jobs" --timeout "$test_timeout" --stop-on-failure
    --output-on-failure)
  [ -n "$exclude" ] && args+=(-E "$exclude")
  timeout "$run_timeout" ctest "${args[@]}" >"$backup/test.log" 2>&1
}

echo "building and testing the unmutated tree in $build"
if ! build_all; then
  tail -30 "$backup/build.log"
  echo "mutate.sh: the unmutated tree does not build" >&2
  exit 2
fi
start=$SECONDS
if ! run_tests; then
  grep -E 'Failed|Timeout|tests passed' "$backup/test.log" | tail -20
  echo "mutate.sh: the unmutated suite fails; fix that first" >&2
  exit 2
fi
echo "unmutated suite passes: $(grep -E 'tests passed' "$backup/test.log") ($((SECONDS - start)) s)"

killed=0
total=0
survivors=()
uncompilable=()
for ((i = 0; i < count; ++i)); do
  n=$((i + 1))
  if [ -n "$only" ] && [[ ",$only," != *",$n,"* ]]; then
    continue
  fi
  total=$((total + 1))
  current=${FILES[$i]}
  cp "$source_dir/$current" "$backup/file"
  apply $i || { restore; exit 2; }
  start=$SECONDS
  if ! build_libraries; then
    verdict="KILLED (does not compile)"
    uncompilable+=($n)
    killed=$((killed + 1))
  elif killer=$(hinted_killer $n) && [ -n "$killer" ] && one_test_fails "$killer"; then
    verdict="KILLED by the hinted $killer"
    killed=$((killed + 1))
  elif ! run_tests; then
    first=$(grep -m1 -oE '[0-9]+ - [^ ]+ \((Failed|Timeout|SEGFAULT|Subprocess aborted|Child aborted|Exception)[^)]*\)' "$backup/test.log")
    [ -z "$first" ] && [ $? -ne 0 ] && first="the run timed out"
    verdict="KILLED by ${first:-a failing test}"
    killed=$((killed + 1))
  else
    verdict="SURVIVED"
    survivors+=($n)
  fi
  restore
  printf '%2d %-8s %s (%d s)\n   %s\n' $n "${verdict%% *}" "$(describe $i)" $((SECONDS - start)) "$verdict"
done

# Leave the build matching the restored tree.
build_libraries || echo "mutate.sh: rebuilding the restored tree failed" >&2
echo "survived: ${survivors[*]:-none}"
echo "uncompilable: ${uncompilable[*]:-none}"
echo "killed $killed of $total"
