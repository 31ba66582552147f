#!/usr/bin/env bash
# Runs a test program under valgrind and fails where that finds a use of memory that nobody wrote, or a leak. Left out are the
# tests of time, which would measure valgrind.
set -eu

# Not each warning about thousands of damaged files.
export QT_LOGGING_RULES='*.warning=false;*.critical=false'
exec valgrind -q --error-exitcode=1 --leak-check=full --errors-for-leak-kinds=definite,possible \
  --show-leak-kinds=definite,possible --suppressions="$(dirname "$0")/../memcheck.supp" \
  "$@" --gtest_brief=1 --gtest_filter='-*.CostsLittle/*:*HeavyFilesTest.*:*.TakeNoLongerThanGoodOnes/*'
