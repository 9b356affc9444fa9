// Modules over the dynamic loader. A handle stands for one loaded object, told by the loader's record of it (link_map);
// symbols that a search finds in another object than the module itself do not count, so that two modules with a table
// of the same name never see each other's.

#include "qel/platform/kernel/module.h"

#include <dlfcn.h>
#include <link.h>
#include <strings.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <mutex>

#include "qel/platform/handle_table.h"
#include "qel/platform/kernel/error.h"
#include "qel/platform/kernel/resource.h"

namespace fs = std::filesystem;

namespace {

struct Module {
  const link_map *pMap = nullptr;
  std::string loaderName;  // finds the object again even when its file has gone; empty for the executable
  std::string path;
  int nLoads = 0;            // by LoadLibraryA; each holds one reference of the loader
  bool bRegistered = false;  // by RegisterModule; holds none
  const QelModuleResource *pResources = nullptr;
};

using ModuleTable = qel::HandleTable<HINSTANCE, Module>;

ModuleTable &Modules() {
  static ModuleTable &table = *new ModuleTable(qel::HandleKind::kModule);
  return table;
}

// Guards the counts of the modules; never held while the loader runs, whose constructors come back here.
std::mutex &CountMutex() {
  static std::mutex &mutex = *new std::mutex;
  return mutex;
}

// The loader's view
// -----------------------------------------------------------------------------------------------------

// A reference to a loaded object for as long as it is looked at.
class Reference {
 public:
  explicit Reference(const std::string &loaderName)
      : m_pv(dlopen(loaderName.empty() ? nullptr : loaderName.c_str(), RTLD_NOLOAD | RTLD_LAZY)) {}
  ~Reference() {
    if (m_pv != nullptr) dlclose(m_pv);
  }
  Reference(const Reference &) = delete;
  Reference &operator=(const Reference &) = delete;
  void *Get() const { return m_pv; }

 private:
  void *m_pv;
};

const link_map *MapOfHandle(void *pvLoader) {
  link_map *pMap = nullptr;
  return pvLoader != nullptr && dlinfo(pvLoader, RTLD_DI_LINKMAP, &pMap) == 0 ? pMap : nullptr;
}

const link_map *MapOfAddress(const void *pvAddress) {
  Dl_info info;
  void *pvMap = nullptr;
  return dladdr1(pvAddress, &info, &pvMap, RTLD_DL_LINKMAP) != 0 ? static_cast<const link_map *>(pvMap) : nullptr;
}

// The loader leaves the executable's own record without a name.
bool IsExecutable(const link_map *pMap) {
  return pMap->l_name == nullptr || *pMap->l_name == '\0';
}

std::string PathOf(const link_map *pMap) {
  std::error_code error;
  const fs::path path =
      IsExecutable(pMap) ? fs::read_symlink("/proc/self/exe", error) : fs::canonical(pMap->l_name, error);
  return error ? std::string() : path.string();
}

// A symbol that the object itself exports.
void *OwnSymbol(void *pvLoader, const char *pszName) {
  const link_map *pMap = MapOfHandle(pvLoader);
  void *pvSymbol = pMap != nullptr ? dlsym(pvLoader, pszName) : nullptr;
  return pvSymbol != nullptr && MapOfAddress(pvSymbol) == pMap ? pvSymbol : nullptr;
}

void *ModuleSymbol(HINSTANCE hModule, const char *pszName) {
  const auto module = Modules().Find(hModule);
  if (hModule != nullptr && module == nullptr) return nullptr;
  return OwnSymbol(Reference(module != nullptr ? module->loaderName : std::string()).Get(), pszName);
}

// The module of a loader's record, made when there is none yet. The counts' mutex is held.
std::pair<HINSTANCE, std::shared_ptr<Module>> ModuleOfMap(const link_map *pMap) {
  for (auto &known : Modules().All())
    if (known.second->pMap == pMap) return known;
  auto module = std::make_shared<Module>();
  module->pMap = pMap;
  module->loaderName = IsExecutable(pMap) ? "" : pMap->l_name;
  module->path = PathOf(pMap);
  return {Modules().Add(module), module};
}

// The counts' mutex is held.
void ForgetWhenUnused(HINSTANCE hModule, const Module &module) {
  if (module.nLoads == 0 && !module.bRegistered) Modules().Remove(hModule);
}

// Finding a file
// --------------------------------------------------------------------------------------------------------

std::string SharedObjectName(const std::string &name) {
  const std::string base = name.substr(qel::kernel::FolderOf(name).size());
  const size_t nDot = base.rfind('.');
  if (nDot == std::string::npos) return name + ".so";
  if (strcasecmp(base.c_str() + nDot, ".dll") == 0) return name.substr(0, name.size() - 4) + ".so";
  return name;
}

// The file of a folder whose name matches without case, the exact one first; empty when there is none.
std::string FindInFolder(const std::string &folder, const std::string &base) {
  std::error_code error;
  if (fs::exists(folder + base, error)) return folder + base;
  std::vector<std::string> matches;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    const std::string name = it->path().filename().string();
    if (strcasecmp(name.c_str(), base.c_str()) == 0) matches.push_back(name);
  }
  return matches.empty() ? std::string() : folder + *std::min_element(matches.begin(), matches.end());
}

// Modules leave the engine's symbols that they use to be found at load. An engine that came in with another library's
// own symbols only would be hidden from them.
void ShowEngine() {
  static const bool bShown = [] {
    const link_map *pMap = MapOfAddress(reinterpret_cast<const void *>(&ShowEngine));
    if (pMap == nullptr || IsExecutable(pMap)) return false;
    void *const pvEngine = dlopen(pMap->l_name, RTLD_NOLOAD | RTLD_LAZY | RTLD_GLOBAL);
    return pvEngine != nullptr && dlclose(pvEngine) == 0;
  }();
  static_cast<void>(bShown);
}

// The name as it is first; then its base name in the folder that it names, or, for a bare name and one beside the
// executable, beside the executable and in the engine's library folder.
void *OpenByName(std::string name) {
  constexpr int kMode = RTLD_NOW | RTLD_LOCAL;
  if (void *pvLoader = dlopen(name.c_str(), kMode)) return pvLoader;
  std::replace(name.begin(), name.end(), '\\', '/');
  const std::string named = qel::kernel::FolderOf(name);
  const std::string beside = qel::kernel::FolderOf(qel::kernel::ModulePath(nullptr));
  std::vector<std::string> folders = {named};
  if (named.empty() || named == beside) folders = {beside, qel::kernel::EngineLibraryFolder()};
  for (const std::string &folder : folders) {
    const std::string path = FindInFolder(folder, name.substr(named.size()));
    if (path.empty()) continue;
    if (void *pvLoader = dlopen(path.c_str(), kMode)) return pvLoader;
  }
  return nullptr;
}

}  // namespace

// Public
// ----------------------------------------------------------------------------------------------------------------

HINSTANCE LoadLibraryA(const char *pszFileName) {
  ShowEngine();
  void *pvLoader = pszFileName != nullptr && *pszFileName != '\0' ? OpenByName(SharedObjectName(pszFileName)) : nullptr;
  const link_map *pMap = MapOfHandle(pvLoader);
  if (pMap == nullptr) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  std::lock_guard lock(CountMutex());
  const auto [hModule, module] = ModuleOfMap(pMap);
  ++module->nLoads;
  return hModule;
}

BOOL FreeLibrary(HINSTANCE hModule) {
  std::string loaderName;
  {
    std::lock_guard lock(CountMutex());
    const auto module = Modules().Find(hModule);
    if (module == nullptr || module->nLoads == 0) {
      SetLastError(ERROR_INVALID_HANDLE);
      return FALSE;
    }
    --module->nLoads;
    loaderName = module->loaderName;
    ForgetWhenUnused(hModule, *module);
  }
  // One reference to find the object by, and the one that the load took.
  const Reference object(loaderName);
  return object.Get() != nullptr && dlclose(object.Get()) == 0;
}

FARPROC GetProcAddress(HINSTANCE hModule, const char *pszName) {
  void *pvSymbol = pszName != nullptr ? ModuleSymbol(hModule, pszName) : nullptr;
  if (pvSymbol == nullptr) SetLastError(ERROR_PROC_NOT_FOUND);
  return reinterpret_cast<FARPROC>(pvSymbol);
}

DWORD GetModuleFileNameA(HINSTANCE hModule, char *pszFileName, DWORD nSize) {
  if (pszFileName == nullptr || nSize == 0) return 0;
  const std::string path = qel::kernel::ModulePath(hModule);
  const size_t nLength = std::min<size_t>(path.size(), nSize - 1);
  std::memcpy(pszFileName, path.data(), nLength);
  pszFileName[nLength] = '\0';
  if (path.empty()) SetLastError(ERROR_INVALID_HANDLE);
  return static_cast<DWORD>(nLength);
}

// Internal
// --------------------------------------------------------------------------------------------------------------

namespace qel::kernel {

std::string FolderOf(const std::string &path) {
  const size_t nSeparator = path.find_last_of("/\\");
  return nSeparator != std::string::npos ? path.substr(0, nSeparator + 1) : std::string();
}

std::string ModulePath(HINSTANCE hModule) {
  if (hModule == nullptr) {
    std::error_code error;
    const fs::path path = fs::read_symlink("/proc/self/exe", error);
    return error ? std::string() : path.string();
  }
  const auto module = Modules().Find(hModule);
  return module != nullptr ? module->path : std::string();
}

std::string EngineLibraryFolder() {
  const link_map *pMap = MapOfAddress(reinterpret_cast<const void *>(&EngineLibraryFolder));
  if (pMap == nullptr || IsExecutable(pMap)) return FolderOf(ModulePath(nullptr)) + "../lib/qel/";
  return FolderOf(PathOf(pMap)) + "qel/";
}

HINSTANCE RegisterModule(const void *pvAddress, const QelModuleResource *pResources) {
  const link_map *pMap = MapOfAddress(pvAddress);
  if (pMap == nullptr) return nullptr;
  std::lock_guard lock(CountMutex());
  const auto [hModule, module] = ModuleOfMap(pMap);
  module->bRegistered = true;
  module->pResources = pResources;
  return hModule;
}

HINSTANCE ModuleAt(const void *pvAddress) {
  const link_map *pMap = MapOfAddress(pvAddress);
  for (const auto &known : Modules().All())
    if (known.second->pMap == pMap) return known.first;
  return nullptr;
}

void UnregisterModule(HINSTANCE hModule) {
  std::lock_guard lock(CountMutex());
  const auto module = Modules().Find(hModule);
  if (module == nullptr) return;
  module->bRegistered = false;
  module->pResources = nullptr;
  ForgetWhenUnused(hModule, *module);
}

const QelModuleResource *ModuleResources(HINSTANCE hModule) {
  const auto module = Modules().Find(hModule);
  if (module != nullptr && module->pResources != nullptr) return module->pResources;
  return static_cast<const QelModuleResource *>(ModuleSymbol(hModule, "QelModuleResources"));
}

std::vector<const QelModuleResource *> AllModuleResources() {
  std::vector<const QelModuleResource *> tables = {ModuleResources(nullptr)};
  for (const auto &known : Modules().All()) tables.push_back(ModuleResources(known.first));
  std::erase(tables, nullptr);
  return tables;
}

bool IsModule(HINSTANCE hModule) {
  return Modules().Find(hModule) != nullptr;
}

}  // namespace qel::kernel
