// Numbers in options.
#include "apps/qel/numbers.h"

#include <CLI/CLI.hpp>
#include <charconv>

namespace app {

std::vector<LONG> ParseNumbers(const std::string &option, const std::string &text, char parting, std::size_t count,
                               LONG least) {
  std::vector<LONG> numbers;
  const char *at = text.data(), *const end = at + text.size();
  while (numbers.size() < count) {
    LONG number = 0;
    const auto [next, error] = std::from_chars(at, end, number);
    if (error != std::errc() || number < least) break;
    numbers.push_back(number);
    at = next;
    if (numbers.size() < count && (at == end || *at++ != parting)) break;
  }
  if (numbers.size() != count || at != end)
    throw CLI::ValidationError(option, "'" + text + "' is not " + std::to_string(count) + " numbers of at least " +
                                           std::to_string(least) + " parted by '" + parting + "'");
  return numbers;
}

}  // namespace app
