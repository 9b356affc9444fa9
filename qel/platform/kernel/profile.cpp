// Profiles as lines of text: "[section]", "key=value", ";comment". Reading looks at one line, writing changes one and
// hands all others back as they came, whatever they are. A file is replaced by renaming a finished one over it.

#include "qel/platform/kernel/profile.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qel/platform/kernel/descriptor.h"
#include "qel/platform/kernel/error.h"
#include "qel/platform/kernel/module.h"

namespace fs = std::filesystem;

namespace {

using qel::kernel::Retry;

using Lines = std::vector<std::string>;  // each with its line end, which the last one may lack

// Lines --------------------------------------------------------------------------------------------------------------

std::string_view Trim(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n\f\v";
  const size_t nFirst = text.find_first_not_of(kBlanks);
  if (nFirst == std::string_view::npos) return {};
  return text.substr(nFirst, text.find_last_not_of(kBlanks) - nFirst + 1);
}

bool SameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

std::optional<std::string_view> SectionOf(std::string_view line) {
  line = Trim(line);
  const size_t nEnd = line.find(']');
  if (!line.starts_with('[') || nEnd == std::string_view::npos) return {};
  return Trim(line.substr(1, nEnd - 1));
}

struct Entry {
  std::string_view key, value;
};

std::optional<Entry> EntryOf(std::string_view line) {
  line = Trim(line);
  const size_t nEquals = line.find('=');
  if (line.starts_with(';') || nEquals == std::string_view::npos) return {};
  return Entry{Trim(line.substr(0, nEquals)), Trim(line.substr(nEquals + 1))};
}

// The lines of a section, its title first; both ends behind the last line when there is none of that name.
struct Section {
  size_t nBegin, nEnd;
};

Section FindSection(const Lines &lines, std::string_view name) {
  size_t nBegin = 0;
  for (; nBegin < lines.size(); ++nBegin) {
    const auto section = SectionOf(lines[nBegin]);
    if (section && SameName(*section, name)) break;
  }
  size_t nEnd = nBegin;
  while (nEnd < lines.size() && (nEnd == nBegin || !SectionOf(lines[nEnd]))) ++nEnd;
  return {nBegin, nEnd};
}

// The line of a key; the section's end when it has none.
size_t FindKey(const Lines &lines, const Section &section, std::string_view key) {
  for (size_t i = section.nBegin; i < section.nEnd; ++i) {
    const auto entry = EntryOf(lines[i]);
    if (entry && !SectionOf(lines[i]) && SameName(entry->key, key)) return i;
  }
  return section.nEnd;
}

std::string Joined(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) text += part;
  return text;
}

void EndLastLine(Lines &lines) {
  if (!lines.empty() && !lines.back().ends_with('\n')) lines.back() += '\n';
}

void SetKey(Lines &lines, std::string_view section, std::string_view key, std::string_view value) {
  EndLastLine(lines);
  Section found = FindSection(lines, section);
  if (found.nBegin == lines.size()) {
    lines.push_back(Joined({"[", section, "]\n"}));
    found.nEnd = lines.size();
  }
  const std::string line = Joined({key, "=", value, "\n"});
  size_t nLine = FindKey(lines, found, key);
  if (nLine < found.nEnd) {
    lines[nLine] = line;
    return;
  }
  while (Trim(lines[nLine - 1]).empty()) --nLine;  // blank lines stay between this section and the next
  lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(nLine), line);
}

void RemoveLines(Lines &lines, size_t nBegin, size_t nEnd) {
  lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(nBegin), lines.begin() + static_cast<std::ptrdiff_t>(nEnd));
}

// True for a name without line ends and without what would end it early or make its line another kind of line.
bool IsPlainName(std::string_view name, std::string_view forbidden) {
  return !name.empty() && name.find_first_of("\r\n") == std::string_view::npos &&
         name.find_first_of(forbidden) == std::string_view::npos && !name.starts_with(';') && !name.starts_with('[');
}

// Sign and digits up to the first character that is none, modulo 2^32.
UINT WholeNumber(std::string_view text) {
  const bool bNegative = text.starts_with('-');
  if (bNegative || text.starts_with('+')) text.remove_prefix(1);
  UINT nNumber = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') break;
    nNumber = nNumber * 10u + static_cast<UINT>(c - '0');
  }
  return bNegative ? 0u - nNumber : nNumber;
}

// Files --------------------------------------------------------------------------------------------------------------

// Folder of bare names; empty for a user without a home. A relative $XDG_CONFIG_HOME is to be ignored.
fs::path SettingsFolder() {
  const char *const pszConfig = std::getenv("XDG_CONFIG_HOME");
  if (pszConfig && *pszConfig == '/') return fs::path(pszConfig) / "qel";
  const char *const pszHome = std::getenv("HOME");
  return pszHome && *pszHome ? fs::path(pszHome) / ".config" / "qel" : fs::path();
}

bool IsBare(const std::string &name) {
  return qel::kernel::FolderOf(name).empty();
}

// Where a profile lies; empty when there is no such place.
std::string PathOf(const char *pszFileName) {
  if (!pszFileName || !*pszFileName) return {};
  if (!IsBare(pszFileName)) return pszFileName;
  const fs::path folder = SettingsFolder();
  return folder.empty() ? std::string() : (folder / pszFileName).string();
}

class Descriptor {
 public:
  explicit Descriptor(int n) : m_n(n) {}
  ~Descriptor() {
    if (m_n >= 0) close(m_n);
  }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  int Get() const { return m_n; }

 private:
  int m_n;
};

// The lines of a file, none when it is missing; nothing, with errno, when it cannot be read.
std::optional<Lines> ReadLines(const std::string &path) {
  const Descriptor file(qel::kernel::OpenDescriptor(path.c_str(), O_RDONLY));
  if (file.Get() < 0) return errno == ENOENT ? std::optional<Lines>(Lines()) : std::nullopt;
  std::string text;
  char block[4096];
  ssize_t nRead;
  while ((nRead = Retry([&] { return read(file.Get(), block, sizeof block); })) > 0)
    text.append(block, static_cast<size_t>(nRead));
  if (nRead < 0) return {};
  Lines lines;
  for (size_t nBegin = 0; nBegin < text.size();) {
    const size_t nEnd = std::min(text.find('\n', nBegin), text.size() - 1) + 1;
    lines.push_back(text.substr(nBegin, nEnd - nBegin));
    nBegin = nEnd;
  }
  return lines;
}

bool WriteAll(int nFile, const Lines &lines) {
  for (const std::string &line : lines) {
    for (size_t nDone = 0; nDone < line.size();) {
      const ssize_t nWritten = Retry([&] { return write(nFile, line.data() + nDone, line.size() - nDone); });
      if (nWritten < 0) return false;
      nDone += static_cast<size_t>(nWritten);
    }
  }
  return Retry([=] { return fsync(nFile); }) == 0;
}

// Puts a new file in the place of `path`, or of what it links to, with the same permissions; false with errno.
bool ReplaceFile(const std::string &path, const Lines &lines) {
  std::error_code error;
  const fs::path linked = fs::canonical(path, error);
  const std::string target = error ? path : linked.string();
  std::string temporary = target + ".XXXXXX";
  const Descriptor file(mkostemp(temporary.data(), O_CLOEXEC));
  if (file.Get() < 0) return false;
  struct stat status;
  const bool bDone = (stat(target.c_str(), &status) != 0 || fchmod(file.Get(), status.st_mode & 07777) == 0) &&
                     WriteAll(file.Get(), lines) && rename(temporary.c_str(), target.c_str()) == 0;
  if (bDone) return true;
  const int nError = errno;
  unlink(temporary.c_str());
  errno = nError;
  return false;
}

BOOL Fail(DWORD dwError) {
  SetLastError(dwError);
  return FALSE;
}

}  // namespace

// Public -------------------------------------------------------------------------------------------------------------

UINT GetPrivateProfileIntA(const char *pszSection, const char *pszKey, int nDefault, const char *pszFileName) {
  const std::string path = PathOf(pszFileName);
  const auto lines = pszSection && pszKey && !path.empty() ? ReadLines(path) : std::nullopt;
  if (!lines) return static_cast<UINT>(nDefault);
  const Section section = FindSection(*lines, Trim(pszSection));
  const size_t nLine = FindKey(*lines, section, Trim(pszKey));
  std::string_view value = nLine < section.nEnd ? EntryOf((*lines)[nLine])->value : std::string_view();
  const bool bQuoted = value.size() > 1 && value.front() == value.back() && (value[0] == '"' || value[0] == '\'');
  if (bQuoted) value = Trim(value.substr(1, value.size() - 2));
  return value.empty() ? static_cast<UINT>(nDefault) : WholeNumber(value);
}

BOOL WritePrivateProfileStringA(const char *pszSection, const char *pszKey, const char *pszString,
                                const char *pszFileName) {
  const std::string path = PathOf(pszFileName);
  const std::string_view section = Trim(pszSection ? pszSection : ""), key = Trim(pszKey ? pszKey : "");
  const std::string_view value = pszString ? pszString : "";
  if (path.empty() || !IsPlainName(section, "]") || (pszKey && !IsPlainName(key, "=")) ||
      value.find_first_of("\r\n") != std::string_view::npos)
    return Fail(ERROR_INVALID_PARAMETER);

  static std::mutex mutex;  // threads of a program change one file after the other
  std::lock_guard lock(mutex);
  auto lines = ReadLines(path);
  if (!lines) return Fail(qel::kernel::ErrorFromErrno(errno));
  if (pszKey && pszString) {
    SetKey(*lines, section, key, value);
  } else {
    const Section found = FindSection(*lines, section);
    const size_t nLine = pszKey ? FindKey(*lines, found, key) : found.nBegin;
    if (nLine == found.nEnd) return TRUE;  // nothing to remove
    RemoveLines(*lines, nLine, pszKey ? nLine + 1 : found.nEnd);
  }
  std::error_code error;  // a folder that cannot be made shows at the file
  if (IsBare(pszFileName)) fs::create_directories(fs::path(path).parent_path(), error);
  return ReplaceFile(path, *lines) || Fail(qel::kernel::ErrorFromErrno(errno));
}
