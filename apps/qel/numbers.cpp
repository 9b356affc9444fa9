// Texts of options as numbers.
#include "apps/qel/numbers.h"

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

SIZE ParseBox(const std::string &option, const std::string &text) {
  const auto n = ParseNumbers(option, text, 'x', 2, 1);
  return {n[0], n[1]};
}

RECT ParseArea(const std::string &option, const std::string &text) {
  const auto n = ParseNumbers(option, text, ',', 4, 0);
  const auto end = [](LONG start, LONG size) {
    LONG sum = 0;
    return __builtin_add_overflow(start, size, &sum) ? INT32_MAX : sum;
  };
  return {n[0], n[1], end(n[0], n[2]), end(n[1], n[3])};
}

}  // namespace app
