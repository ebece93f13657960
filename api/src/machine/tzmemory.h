/// @file
/// Tracked memory: every buffer that a test hands to a measured function comes from here. A buffer
/// is placed at a chosen offset from a 64-byte boundary, recorded with its owner in the order of
/// allocation, and told about at the memory level (32).
///
/// Single-threaded: the list, its cursor and the settings are process-wide and unguarded.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tzlist.h"
#include "tzobject.h"
#include "tzstring.h"

/// @name Owners that are no test-data object
/// @{
extern tzObject* const MEM_OBJECT_IS_BUFFER;     ///< raw bytes that no object owns
extern tzObject* const MEM_OBJECT_IS_SUBOBJECT;  ///< part of an object that is listed already
/// @}

/// @name Placement settings
/// @{
extern int VectorAlign;  ///< bytes of misalignment per unit, 0 to 63
extern int
    VectorShift;       ///< bytes by which each further vector of a test is moved; a multiple of 64
extern bool AlignSrc;  ///< misalign only the first vector of a test
/// The session's data shift, as suites pass it on.
inline int tzGetVectorShift() { return VectorShift; }
/// @}

/// Raw block: a heap block with the returned address 64-byte aligned, at least 128 bytes of room
/// below it and at least `size` bytes from it on.
/// @return null for a negative size and when there is no memory
void* tz_malloc(std::ptrdiff_t size);
/// Frees a block of tz_malloc; null is ignored.
void tz_free(void* block);

/// (address + 63) AND (align - 64), the second operand as a two's-complement integer: for an
/// address on a 64-byte boundary and 0 <= align < 64 just address + align.
void* getAlignedPtr(void* address, int align);

/// A raw block with an offset place in it.
/// @param base   receives the raw block, for tz_free
/// @param align  bytes of misalignment; counts modulo 64 with its sign
/// @param shift  bytes, not negative. A shift that is no multiple of 64 is not added to the
///               misalignment: those of its bits that survive getAlignedPtr stay as they fall
/// @return the place, with `size` bytes from it on; null when there is no memory
void* tz_malloc(void*& base, int size, int align, int shift);

/// One tracked buffer.
struct Address {
  void* base = nullptr;            ///< what goes back to tz_free
  void* alignedPointer = nullptr;  ///< what the caller got
  int size = 0;                    ///< bytes asked for
  tzObject* object = nullptr;      ///< owner or one of the two markers
};

/// The live buffers in the order of their allocation, with a cursor to walk them. A buffer that is
/// released while it is walked does not disturb the walk.
class AddressList : public tzList<Address> {
 public:
  AddressList();
  /// Finds a record by its aligned pointer.
  bool find(const void* p, Address& found);
  /// Removes a record.
  /// @return its base, null when `p` is not listed
  void* remove(const void* p);
  /// Fills what is not null.
  bool getInfo(const void* p, int* size, tzObject** object);
  /// The record under the cursor; null at the end. Moves the cursor on.
  void* getNext(int* size, tzObject** object);
  void restart();

 private:
  iterator locate(const void* p);
  iterator m_cursor;
};

/// Null until the first allocation.
extern AddressList* pAddressList;

/// Whose buffers those allocated and freed from now on are, in the words of the memory table.
void tzSetMemoryUser(const tzString& name);

/// Allocates a tracked buffer; parameters as tz_malloc.
/// @return null when there is no memory, after a line at level ERR
void* tzMalloc(int size, int align, int shift, tzObject* object);
/// The same without an owner; `p` receives the result.
void* tzMalloc(void*& p, int size, int align, int shift);
/// Lists a buffer that was allocated elsewhere; tzFree then forgets it and leaves its memory alone.
void tzMallocAdopt(void* p, int size, tzObject* object);
/// Releases a tracked buffer; a pointer that is not listed is left alone.
void tzFree(void* p);
/// Forgets all buffers without freeing them: used when everything is discarded at once.
void tzFreeAll();

/// Looks a buffer up; outputs may be null.
bool tzMallocInfo(const void* p, int* size, tzObject** object);
/// @name Walking all live buffers
/// Either returns a buffer and fills the outputs that are not null; null at the end.
/// @{
void* tzMallocFirst(int* size, tzObject** object);
void* tzMallocNext(int* size, tzObject** object);
/// @}

/// Places one more buffer of a test: the misalignment is that of the settings, and each buffer is
/// moved against the one before by VectorShift, starting anew when 32768 bytes are reached.
/// @param align      bytes, or a negative number: minus the bytes of one unit of VectorAlign
/// @param object     null: MEM_OBJECT_IS_BUFFER
/// @param vectorNum  buffers of this test so far; counted up
/// @param shift      the current shift; moved on
/// @return null when there is no memory
void* tzPlaceVector(int size, int align, tzObject* object, int& vectorNum, int& shift);
