// What the fuzz targets share: a failed check aborts with a message, which
// libFuzzer reports as a finding and saves the input for.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#define FUZZ_CHECK(cond)                                                            \
  do {                                                                              \
    if (!(cond)) {                                                                  \
      std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
      std::abort();                                                                 \
    }                                                                               \
  } while (0)

// The input read from the front: single bytes and runs of bytes as text.
struct TFuzzInput {
  const uint8_t* Data;
  std::size_t Size;
  std::size_t At = 0;

  bool AtEnd() const { return At >= Size; }
  uint8_t Byte() { return Data[At++]; }
  // The next N bytes, or as many as are left.
  std::string Take(std::size_t N) {
    N = std::min(N, Size - At);
    std::string s(reinterpret_cast<const char*>(Data + At), N);
    At += N;
    return s;
  }
};
