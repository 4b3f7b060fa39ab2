#include "signature/PassPhrase.h"

#include <stddef.h>

#include <utility>
#include <vector>

#ifndef BK_PASSPHRASE_TABLE_SIZE
#define BK_PASSPHRASE_TABLE_SIZE 4096
#endif

// The pass phrase is derived at run time from a table whose size belongs to
// the deployment (set at build time), so that no stored value gives it away.
int Util_getNumber() {
  std::vector<int> table(BK_PASSPHRASE_TABLE_SIZE);
  for (size_t i = 0; i < table.size(); ++i) table[i] = static_cast<int>(i);
  for (size_t low = 0, high = table.size(); low + 1 < high; ++low, --high) {
    std::swap(table[low], table[high - 1]);
  }
  int sum = 0;
  for (int value : table) sum += value;
  return sum;
}
