// Handles and views of named mappings.
//
// A handle and the views made from it share one object, which ends when the handle is closed and all views are
// unmapped. Handles are numbers that are never used twice, so that one closed long ago is no one else's. A view is a
// page of its own for the region's header, the object's data right behind it.
#include "qel/platform/kernel/file_mapping.h"

#include <sys/mman.h>

#include <cerrno>
#include <map>
#include <mutex>
#include <new>
#include <utility>

#include "qel/platform/kernel/error.h"
#include "qel/platform/kernel/reserved_memory.h"
#include "qel/platform/kernel/shared_object.h"

namespace {

using namespace qel::kernel;

// Handles and views in use -------------------------------------------------------------------------------------------

using ObjectPtr = std::shared_ptr<SharedObject>;

struct Tables {
  std::mutex mutex;
  std::uintptr_t nextHandle = 4;
  std::map<std::uintptr_t, ObjectPtr> handles;
  std::map<std::uintptr_t, ObjectPtr> views;  // by base
};

/// Never destroyed: objects with static storage may still close theirs after it would be.
Tables &TheTables() {
  static Tables *tables = new Tables;
  return *tables;
}

/// Takes an entry out of a table; the object may end with the result, outside the lock.
ObjectPtr Take(std::map<std::uintptr_t, ObjectPtr> Tables::*table, const void *key) {
  Tables &tables = TheTables();
  std::lock_guard lock(tables.mutex);
  auto entry = (tables.*table).extract(reinterpret_cast<std::uintptr_t>(key));
  return entry.empty() ? nullptr : std::move(entry.mapped());
}

ObjectPtr FindHandle(HANDLE hMapping) {
  Tables &tables = TheTables();
  std::lock_guard lock(tables.mutex);
  auto it = tables.handles.find(reinterpret_cast<std::uintptr_t>(hMapping));
  return it == tables.handles.end() ? nullptr : it->second;
}

template <class Result>
Result Fail(DWORD dwCode) {
  SetLastError(dwCode);
  return Result{};
}

// Views --------------------------------------------------------------------------------------------------------------

/// Maps an object's data behind a header page; null, with errno set, when the system refuses.
RegionHeader *MapView(const SharedObject &object) {
  constexpr int kAccess = PROT_READ | PROT_WRITE;
  std::size_t pageBytes = std::size_t{1} << PageShift();
  std::size_t dataBytes = object.States().pages << PageShift();
  void *mapping = mmap(nullptr, pageBytes + dataBytes, kAccess, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (mapping == MAP_FAILED) return nullptr;
  unsigned char *front = static_cast<unsigned char *>(mapping);
  off_t offset = static_cast<off_t>(object.DataOffset());
  if (mmap(front + pageBytes, dataBytes, kAccess, MAP_SHARED | MAP_FIXED, object.Fd(), offset) == MAP_FAILED) {
    int nErrno = errno;
    munmap(mapping, pageBytes + dataBytes);
    errno = nErrno;
    return nullptr;
  }
  return new (front + pageBytes - sizeof(RegionHeader)) RegionHeader{
      object.States(), PageShift(), PAGE_READWRITE, front, pageBytes + dataBytes, object.Fd(), object.DataOffset()};
}

}  // namespace

// The calls ----------------------------------------------------------------------------------------------------------

HANDLE CreateFileMappingA(HANDLE hFile, void *, DWORD dwProtect, DWORD dwSizeHigh, DWORD dwSizeLow,
                          const char *pszName) {
  DWORD dwSections = dwProtect & (SEC_COMMIT | SEC_RESERVE);
  std::size_t bytes = static_cast<std::size_t>(dwSizeHigh) << 32 | dwSizeLow;
  if (hFile != INVALID_HANDLE_VALUE || (dwProtect ^ dwSections) != PAGE_READWRITE ||
      dwSections == (SEC_COMMIT | SEC_RESERVE) || bytes == 0)
    return Fail<HANDLE>(ERROR_INVALID_PARAMETER);

  ObjectPtr object = SharedObject::Open(pszName, bytes, dwSections != SEC_RESERVE);
  if (object == nullptr) return nullptr;
  SetLastError(object->Existed() ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  Tables &tables = TheTables();
  std::lock_guard lock(tables.mutex);
  std::uintptr_t handle = tables.nextHandle;
  tables.nextHandle += 4;
  tables.handles.emplace(handle, std::move(object));
  return reinterpret_cast<HANDLE>(handle);
}

void *MapViewOfFile(HANDLE hMapping, DWORD dwAccess, DWORD dwOffsetHigh, DWORD dwOffsetLow, SIZE_T nBytes) {
  if ((dwAccess & FILE_MAP_WRITE) == 0 || dwOffsetHigh != 0 || dwOffsetLow != 0 || nBytes != 0)
    return Fail<void *>(ERROR_INVALID_PARAMETER);
  ObjectPtr object = FindHandle(hMapping);
  if (object == nullptr) return Fail<void *>(ERROR_INVALID_HANDLE);
  RegionHeader *header = MapView(*object);
  if (header == nullptr) return Fail<void *>(ErrorFromErrno(errno));
  Tables &tables = TheTables();
  std::lock_guard lock(tables.mutex);
  tables.views.emplace(reinterpret_cast<std::uintptr_t>(header->Base()), std::move(object));
  AddRegion(*header);
  return header->Base();
}

BOOL UnmapViewOfFile(const void *pBase) {
  ObjectPtr object = Take(&Tables::views, pBase);
  if (object == nullptr) return Fail<BOOL>(ERROR_INVALID_ADDRESS);
  RegionHeader &header = HeaderOf(static_cast<const unsigned char *>(pBase));
  RemoveRegion(header);
  munmap(header.mapping, header.mappingBytes);
  return TRUE;
}

BOOL CloseHandle(HANDLE hObject) {
  return Take(&Tables::handles, hObject) != nullptr ? TRUE : Fail<BOOL>(ERROR_INVALID_HANDLE);
}
