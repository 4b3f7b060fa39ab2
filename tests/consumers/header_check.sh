#!/usr/bin/env bash
# Compiles a unit that includes only <bramblekit/Bramblekit.h>, as C11 and as
# C++17, with every warning an error.
# usage: header_check.sh C_COMPILER CXX_COMPILER INCLUDE_DIR
set -euo pipefail
unit='#include <bramblekit/Bramblekit.h>
int bk_header_check(void) { return BK_VERSION_MAJOR + BK_KS_LAST_RESTORED; }'
flags=(-Wall -Wextra -Werror -pedantic -fsyntax-only -I"$3")
"$1" -std=c11 -x c "${flags[@]}" - <<<"$unit"
"$2" -std=c++17 -x c++ "${flags[@]}" - <<<"$unit"
echo "header compiles as C11 and C++17"
