#!/usr/bin/env bash
# hardening_test.sh LIBRARY FILE...: what the linker should have done is found in each built program and module, and what
# the compiler should have done in the product's own code in the library.
set -euo pipefail
failed=0
# expect WHAT FILE PATTERN COMMAND...
expect() {
    local what=$1 file=$2 pattern=$3
    shift 3
    "$@" "$file" | grep -E -- "$pattern" >/dev/null || { echo "$file: $what" >&2 && failed=1; }
}
library=$1
shift
for file in "$@"; do
    expect "is not placed at random" "$file" '^ *Type: +DYN' readelf -hW
    expect "has tables that can be written" "$file" 'GNU_RELRO' readelf -lW
    expect "looks functions up late" "$file" '\bNOW\b' readelf -dW
    expect "has a stack that can be executed" "$file" 'GNU_STACK.* RW ' readelf -lW
done
expect "does not watch over its stack" "$library" '__stack_chk_fail' nm -u
expect "does not check sizes" "$library" '__[a-z]+_chk$' nm -u
if [ "$(uname -m)" = x86_64 ]; then
    expect "lets calls and jumps lead anywhere" "$library" 'IBT, SHSTK' readelf -nW
    # Each page of a large frame is touched, by a write that changes nothing.
    expect "can leap over the end of the stack" "$library" 'orq +\$0x0,' objdump -d --no-show-raw-insn
fi
exit "$failed"
