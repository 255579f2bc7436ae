// TPelTextStream beside the standard streams.
//
// Reading: a generated text of words and numbers (10 MB and 100 MB, written
// to a temporary file at the start of the run) read token by token,
// SkipSpaces then GetToken, beside std::ifstream >> std::string. Writing:
// 1 M and 10 M integers, each followed by a space, with Put beside
// std::ofstream << and std::fprintf. Bytes per second are reported; compare
// CPU times.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>

#include "streams/PelStreams.h"

namespace {

using namespace pel;

std::string TempName(const std::string& tag) {
  return (std::filesystem::temp_directory_path() /
          ("pel_textbench_" + tag + "_" + std::to_string(::getpid())))
      .string();
}

// Removes the generated files when the run ends.
struct TempFiles {
  std::map<int64_t, std::string> Texts;
  std::string Output = TempName("out");
  ~TempFiles() {
    for (auto& [size, name] : Texts) std::remove(name.c_str());
    std::remove(Output.c_str());
  }
};

TempFiles& Files() {
  static TempFiles files;
  return files;
}

// Words of 1 to 12 letters and numbers, separated by one or two blanks,
// lines of about 70 characters.
const std::string& TextFile(int64_t Bytes) {
  auto& texts = Files().Texts;
  auto it = texts.find(Bytes);
  if (it != texts.end()) return it->second;
  std::string name = TempName("text" + std::to_string(Bytes));
  std::ofstream out(name, std::ios::binary);
  std::mt19937 rng(11);
  std::string line;
  int64_t written = 0;
  while (written < Bytes) {
    line.clear();
    while (line.size() < 70) {
      if (rng() % 4 == 0) {
        line += std::to_string(rng() % 100000);
      } else {
        std::size_t len = 1 + rng() % 12;
        for (std::size_t i = 0; i < len; ++i) line += static_cast<char>('a' + rng() % 26);
      }
      line += rng() % 8 ? " " : "  ";
    }
    line += '\n';
    out << line;
    written += static_cast<int64_t>(line.size());
  }
  return texts.emplace(Bytes, name).first->second;
}

// A descendant: every character goes through the virtual Read and PutBack.
class TDescendantTextStream : public TPelTextStream {
  PEL_CLASS(TDescendantTextStream, TPelTextStream)
 public:
  using TPelTextStream::TPelTextStream;
};

template <class T>
void BM_ReadTokens_TextStream(benchmark::State& state) {
  const std::string& name = TextFile(state.range(0));
  int64_t tokens = 0;
  for (auto _ : state) {
    auto t = Make<T>(name, fmOpenRead);
    tokens = 0;
    for (;;) {
      t->SkipSpaces();
      String token = t->GetToken();
      if (token.empty()) break;
      ++tokens;
      benchmark::DoNotOptimize(token.data());
    }
  }
  state.counters["tokens"] = static_cast<double>(tokens);
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_ReadTokens_Ifstream(benchmark::State& state) {
  const std::string& name = TextFile(state.range(0));
  int64_t tokens = 0;
  for (auto _ : state) {
    std::ifstream in(name, std::ios::binary);
    std::string token;
    tokens = 0;
    while (in >> token) {
      ++tokens;
      benchmark::DoNotOptimize(token.data());
    }
  }
  state.counters["tokens"] = static_cast<double>(tokens);
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_WriteIntegers_TextStream(benchmark::State& state) {
  const int32_t count = static_cast<int32_t>(state.range(0));
  for (auto _ : state) {
    auto t = Make<TPelTextStream>(Files().Output, fmCreate);
    for (int32_t i = 0; i < count; ++i) t->Put(i * 7 - 1000)->Put(' ');
  }
  state.SetItemsProcessed(state.iterations() * count);
}

void BM_WriteIntegers_Ofstream(benchmark::State& state) {
  const int32_t count = static_cast<int32_t>(state.range(0));
  for (auto _ : state) {
    std::ofstream out(Files().Output, std::ios::binary | std::ios::trunc);
    for (int32_t i = 0; i < count; ++i) out << i * 7 - 1000 << ' ';
  }
  state.SetItemsProcessed(state.iterations() * count);
}

void BM_WriteIntegers_Fprintf(benchmark::State& state) {
  const int32_t count = static_cast<int32_t>(state.range(0));
  for (auto _ : state) {
    std::FILE* f = std::fopen(Files().Output.c_str(), "wb");
    for (int32_t i = 0; i < count; ++i) std::fprintf(f, "%d ", i * 7 - 1000);
    std::fclose(f);
  }
  state.SetItemsProcessed(state.iterations() * count);
}

constexpr int64_t kMB = 1 << 20;

BENCHMARK(BM_ReadTokens_TextStream<TPelTextStream>)
    ->Arg(10 * kMB)
    ->Arg(100 * kMB)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadTokens_TextStream<TDescendantTextStream>)
    ->Arg(10 * kMB)
    ->Arg(100 * kMB)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadTokens_Ifstream)->Arg(10 * kMB)->Arg(100 * kMB)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteIntegers_TextStream)
    ->Arg(1'000'000)
    ->Arg(10'000'000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteIntegers_Ofstream)
    ->Arg(1'000'000)
    ->Arg(10'000'000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteIntegers_Fprintf)->Arg(1'000'000)->Arg(10'000'000)->Unit(benchmark::kMillisecond);

}  // namespace
