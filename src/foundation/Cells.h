// Cells: memory for the library's many small objects (list and tree nodes,
// hash-table entries, graph nodes, edges and edge lists), cut from shared
// blocks.
//
// A request of up to 256 bytes is rounded up to 8 and served from a free
// list of cells of that size; the free lists are refilled from blocks of
// 64 KiB cut into cells one after the other, so objects made in a row lie
// side by side. A freed cell waits on its free list for the next object of
// its size: freeing costs no search and no merging of neighbours, and an
// object pays no allocator header. All the blocks go back to the ordinary
// allocator when the last cell cut from them is freed, and not before: a
// program that keeps one object of a million freed ones keeps their blocks.
// Larger requests go to the ordinary allocator.
//
// The cells are shared by all threads (a spin lock guards them). Builds with
// AddressSanitizer use the ordinary allocator, so that it still sees every
// object; so does a class aligned beyond what new guarantees (a cell is
// aligned as its size allows, up to 16).
#pragma once

#include <cstddef>
#include <new>

namespace pel::detail {

void* TakeCell(std::size_t Size);
// Size must be the one the cell was taken with.
void GiveCell(void* Ptr, std::size_t Size) noexcept;

}  // namespace pel::detail

// In a class: its objects and those of its descendants come from the cells.
// Deleting through a virtual destructor gives back the size of the object's
// own class.
#define PEL_CELL_ALLOCATED                                                               \
  static void* operator new(std::size_t Size) { return ::pel::detail::TakeCell(Size); }  \
  static void operator delete(void* Ptr, std::size_t Size) noexcept {                    \
    ::pel::detail::GiveCell(Ptr, Size);                                                  \
  }                                                                                      \
  static void* operator new(std::size_t Size, std::align_val_t Align) {                  \
    return ::operator new(Size, Align);                                                  \
  }                                                                                      \
  static void operator delete(void* Ptr, std::size_t, std::align_val_t Align) noexcept { \
    ::operator delete(Ptr, Align);                                                       \
  }
