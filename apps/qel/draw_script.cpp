// Lines into words, words into numbers, points, areas and colours.
#include "apps/qel/draw_script.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>

#include "apps/qel/colours.h"
#include "apps/qel/failure.h"
#include "apps/qel/picture_file.h"

namespace app {
namespace {

constexpr const char *kBlanks = " \t\r\v\f";

bool IsColour(const std::string &word) {
  return word[0] == '#' && ParseColour(word).has_value();
}

/// Throws a ScriptError for a quotation mark that is not closed.
std::vector<std::string> Split(const std::string &line) {
  std::vector<std::string> words;
  std::size_t at = line.find_first_not_of(kBlanks);
  while (at != line.npos) {
    if (line[at] == '"') {
      const std::size_t end = line.find('"', at + 1);
      if (end == line.npos) throw ScriptError("a quotation mark is not closed");
      words.push_back(line.substr(at + 1, end - at - 1));
      at = end + 1;
    } else {
      const std::size_t end = std::min(line.find_first_of(kBlanks, at), line.size());
      const std::string word = line.substr(at, end - at);
      if (word[0] == '#' && (words.empty() || !IsColour(word))) break;
      words.push_back(word);
      at = end;
    }
    at = line.find_first_not_of(kBlanks, at);
  }
  return words;
}

/// The numbers of a word such as 10,20, within the limits of scripts.
std::vector<LONG> ParseList(const std::string &word, std::size_t count, const std::string &shape) {
  std::vector<LONG> numbers;
  for (std::size_t start = 0; start <= word.size() && numbers.size() <= count;) {
    const std::size_t comma = std::min(word.find(',', start), word.size());
    LONG number = 0;
    const auto [next, error] = std::from_chars(word.data() + start, word.data() + comma, number);
    const bool isNumber = error != std::errc::invalid_argument && next == word.data() + comma;
    if (!isNumber) break;
    if (error != std::errc() || number < -kLargestNumber || number > kLargestNumber)
      throw ScriptError("'" + Shown(word) + "' lies beyond " + std::to_string(kLargestNumber));
    numbers.push_back(number);
    start = comma + 1;
    if (comma == word.size() && numbers.size() == count) return numbers;
  }
  throw ScriptError("'" + Shown(word) + "' is not " + shape);
}

}  // namespace

std::string Shown(const std::string &word) {
  constexpr std::size_t kMost = 60;
  std::string shown = word.substr(0, kMost);
  for (char &c : shown)
    if (static_cast<unsigned char>(c) < ' ' || c == 0x7F) c = '?';
  return word.size() > kMost ? shown + "..." : shown;
}

LONG NumberOf(const std::string &text, const std::string &what, LONG least, LONG most) {
  LONG number = 0;
  const auto [next, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || next != text.data() + text.size() || number < least || number > most)
    throw ScriptError(what + " is '" + Shown(text) + "', not a whole number from " + std::to_string(least) + " to " +
                      std::to_string(most));
  return number;
}

// Words --------------------------------------------------------------------------------------------------------------

bool Words::TakeIf(const std::string &word) {
  if (AtEnd() || m_words[m_next] != word) return false;
  ++m_next;
  return true;
}

std::string Words::TakeWord(const std::string &what) {
  if (AtEnd()) throw ScriptError(what + " is missing");
  return m_words[m_next++];
}

LONG Words::TakeNumber(const std::string &what, LONG least, LONG most) {
  return NumberOf(TakeWord(what), what, least, most);
}

double Words::TakeFraction(const std::string &what, double least, double most) {
  const std::string text = TakeWord(what);
  double number = 0;
  const auto [next, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || next != text.data() + text.size() || !(number >= least && number <= most)) {
    char limits[64];
    std::snprintf(limits, sizeof limits, "%g to %g", least, most);
    throw ScriptError(what + " is '" + Shown(text) + "', not a number from " + limits);
  }
  return number;
}

POINT Words::TakePoint() {
  const auto n = ParseList(TakeWord("a point X,Y"), 2, "a point X,Y");
  return {n[0], n[1]};
}

std::vector<POINT> Words::TakePoints(std::size_t least) {
  std::vector<POINT> points;
  while (!AtEnd() || points.size() < least) points.push_back(TakePoint());
  return points;
}

RECT Words::TakeRect() {
  const std::string word = TakeWord("an area X,Y,W,H");
  const auto n = ParseList(word, 4, "an area X,Y,W,H");
  if (n[2] < 1 || n[3] < 1) throw ScriptError("'" + Shown(word) + "' has no width or no height");
  return {n[0], n[1], n[0] + n[2], n[1] + n[3]};
}

std::optional<RECT> Words::TakeArea() {
  if (TakeIf("all")) return std::nullopt;
  return TakeRect();
}

DWORD Words::TakeColour() {
  const std::string word = TakeWord("a colour");
  if (!IsColour(word)) throw ScriptError("'" + Shown(word) + "' is no colour such as #ff8000");
  return SwapRedAndBlue(*ParseColour(word));
}

void Words::End() const {
  if (!AtEnd()) throw ScriptError("'" + Shown(m_words[m_next]) + "' is one word too many");
}

// Scripts ------------------------------------------------------------------------------------------------------------

std::string PlaceOf(const std::string &path, int line) {
  return path + ":" + std::to_string(line);
}

std::vector<ScriptLine> ReadScript(const std::string &path) {
  RequireRegularFile(path);
  std::ifstream file(path, std::ios::binary);
  if (!file) throw Failure(path, "cannot be read");
  std::vector<ScriptLine> script;
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    try {
      std::vector<std::string> words = Split(line);
      if (words.empty()) continue;
      const std::string command = words.front();
      words.erase(words.begin());
      script.push_back({number, command, Words(std::move(words))});
    } catch (const ScriptError &error) {
      throw Failure(PlaceOf(path, number), error.what());
    }
  }
  if (file.bad()) throw Failure(path, "cannot be read");
  return script;
}

}  // namespace app
