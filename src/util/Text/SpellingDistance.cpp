// The weighted spelling distance: an alignment table filled row by row, choosing fewest steps first.
#include "vyk/util/SpellingDistance.h"

#include <algorithm>
#include <climits>
#include <vector>

#include "vyk/util/Exception.h"

namespace vyk {

namespace {

// One cell of the alignment table: the steps of the best alignment so far and its cost. Wider
// than the costs need for texts of sane length, so that no length can overflow them.
struct Cell {
  long long steps;
  long long cost;
};

Cell extend(Cell from, long long cost) {
  return Cell{from.steps + 1, from.cost + cost};
}

// Fewer steps wins; with equal steps the lower cost, and on a tie the second.
Cell better(Cell first, Cell second) {
  if (first.steps != second.steps) return first.steps < second.steps ? first : second;
  return first.cost < second.cost ? first : second;
}

}  // namespace

int spellingDistance(char const* query, int queryLen, char const* keyword, int keywordLen) {
  long n = std::max(queryLen, 0);
  long m = std::max(keywordLen, 0);
  if (m == 0) return 0;
  // Only the previous row is read, so two rows of the table suffice.
  std::vector<Cell> previous(m + 1);
  std::vector<Cell> current(m + 1);
  previous[0] = Cell{0, 0};
  for (long j = 1; j <= m; ++j) previous[j] = Cell{j, 100 * (j + 1)};
  for (long i = 1; i <= n; ++i) {
    current[0] = Cell{i, 100 * i};
    char a = query[i - 1];
    char aNext = i < n ? query[i] : 0;
    char aPrevious = i >= 2 ? query[i - 2] : 0;
    for (long j = 1; j <= m; ++j) {
      char b = keyword[j - 1];
      char bPrevious = j >= 2 ? keyword[j - 2] : 0;
      Cell left = extend(previous[j], (a == aNext && i < n && j < m) ? 25 : 50);
      long long upCost = j == 1 ? 200 : (i == n ? 35 : (b == bPrevious ? 50 : 100));
      Cell up = extend(current[j - 1], upCost);
      long long diagonalCost = 0;
      if (a != b) {
        if (i == 1 || j == 1) {
          diagonalCost = 200;
        } else if (a == bPrevious && aPrevious == b) {
          diagonalCost = -50;
        } else {
          diagonalCost = 100;
        }
      }
      Cell diagonal = extend(previous[j - 1], diagonalCost);
      Cell winner = better(left, up);
      // The diagonal keeps a tie of steps unless the other is strictly cheaper.
      if (winner.steps == diagonal.steps) {
        current[j] = winner.cost < diagonal.cost ? winner : diagonal;
      } else {
        current[j] = winner.steps < diagonal.steps ? winner : diagonal;
      }
    }
    previous.swap(current);
  }
  long long cost = previous[m].cost;
  if (cost == 0) return 0;
  if (cost < m) return 1;
  return static_cast<int>(std::min<long long>(cost / m, INT_MAX));
}

int spellingDistance(std::string const& query, std::string const& keyword) {
  unsigned long const limit = 0x80000000ul;
  if (keyword.size() >= limit) throw RangeException("Keyword too long for a spelling distance");
  if (query.size() >= limit) throw RangeException("Query too long for a spelling distance");
  return spellingDistance(query.data(), static_cast<int>(query.size()), keyword.data(),
                          static_cast<int>(keyword.size()));
}

}  // namespace vyk
