// Scripts of `qel draw`: one command a line, words parted by blanks, "..." around a word that holds blanks. A word that
// begins with # and is no colour such as #ff8000 starts a comment.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "qel/platform/types.h"

namespace app {

/// What is wrong with a line; the reason alone.
class ScriptError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Numbers of scripts lie within this distance of 0.
constexpr LONG kLargestNumber = 1000000;

/// The words of a line, taken one after the other. Each Take throws a ScriptError when the word is missing or wrong;
/// `what` is what the message calls it.
class Words {
 public:
  explicit Words(std::vector<std::string> words) : m_words(std::move(words)) {}

  bool AtEnd() const { return m_next == m_words.size(); }

  /// Takes the next word if it is this one.
  bool TakeIf(const std::string &word);

  std::string TakeWord(const std::string &what);
  LONG TakeNumber(const std::string &what, LONG least, LONG most);
  double TakeFraction(const std::string &what, double least, double most);
  POINT TakePoint();

  /// All points up to the end of the line, so many at least.
  std::vector<POINT> TakePoints(std::size_t least);

  /// X,Y,W,H with a width and a height of at least 1; or the word `all`: none.
  std::optional<RECT> TakeArea();
  RECT TakeRect();

  /// As 0x00BBGGRR.
  DWORD TakeColour();

  /// Throws when words are left over.
  void End() const;

 private:
  std::vector<std::string> m_words;
  std::size_t m_next = 0;
};

/// A number written in full, within limits.
LONG NumberOf(const std::string &text, const std::string &what, LONG least, LONG most);

/// A word as messages show it: short, and without control characters.
std::string Shown(const std::string &word);

/// The commands of a script, without empty lines and comments.
struct ScriptLine {
  int number;
  std::string command;
  Words words;
};

/// Reads a script. Throws a Failure that names the file, and the line when it is one's fault.
std::vector<ScriptLine> ReadScript(const std::string &path);

/// "SCRIPT:LINE".
std::string PlaceOf(const std::string &path, int line);

}  // namespace app
