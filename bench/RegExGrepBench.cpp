// The search of pel grep (TPelRegularExpression::Find over each line) beside
// std::regex_search and RE2 on the same generated lines: a literal word, a
// character class and an alternation of five words, on 16 MB and 64 MB of
// text, so that growth with the size can be seen.
#include <benchmark/benchmark.h>
#include <re2/re2.h>

#include <cstring>
#include <random>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "text/PelRegularExpression.h"

namespace {

// Word-like lines: words of two to four syllables, a few ending in "ing",
// five to twelve words a line.
const std::string& Text(std::size_t Bytes) {
  static std::vector<std::pair<std::size_t, std::string>> made;
  for (auto& [size, text] : made)
    if (size == Bytes) return text;
  std::mt19937 rng(7);
  static const char* const syllables[] = {"ka",  "lo", "mi",  "ste", "ra", "pon", "du", "vel",
                                          "tor", "an", "gri", "sho", "be", "qua", "ze", "ni"};
  std::vector<std::string> words;
  for (int i = 0; i < 5000; ++i) {
    std::string w;
    for (int n = 2 + static_cast<int>(rng() % 3); n > 0; --n) w += syllables[rng() % 16];
    if (rng() % 20 == 0) w += "ing";
    words.push_back(w);
  }
  std::string text;
  text.reserve(Bytes + 200);
  while (text.size() < Bytes) {
    for (int n = 5 + static_cast<int>(rng() % 8); n > 0; --n) {
      text += words[rng() % words.size()];
      text += n > 1 ? ' ' : '\n';
    }
  }
  made.emplace_back(Bytes, std::move(text));
  return made.back().second;
}

const char* const kPatterns[] = {"ponvel", "[a-z]+ing", "kaloka|ponvel|gristeni|dutor|quaze"};

template <class Matches>
void EachLine(benchmark::State& State, Matches&& matches) {
  const std::string& text = Text(static_cast<std::size_t>(State.range(1)) << 20);
  int64_t selected = 0;
  for (auto _ : State) {
    selected = 0;
    const char* p = text.data();
    const char* end = p + text.size();
    while (p < end) {
      const char* nl =
          static_cast<const char*>(std::memchr(p, '\n', static_cast<std::size_t>(end - p)));
      if (!nl) nl = end;
      selected += matches(std::string_view(p, static_cast<std::size_t>(nl - p)));
      p = nl + 1;
    }
    benchmark::DoNotOptimize(selected);
  }
  State.counters["lines"] = static_cast<double>(selected);
  State.SetBytesProcessed(static_cast<int64_t>(State.iterations()) *
                          static_cast<int64_t>(text.size()));
}

void Pel(benchmark::State& State) {
  auto rx = pel::Make<pel::TPelRegularExpression>(kPatterns[State.range(0)]);
  std::size_t pos = 0, len = 0;
  EachLine(State, [&](std::string_view line) { return rx->Find(line, 0, pos, len); });
}

void StdRegex(benchmark::State& State) {
  const std::regex re(kPatterns[State.range(0)]);
  EachLine(State,
           [&](std::string_view line) { return std::regex_search(line.begin(), line.end(), re); });
}

void Re2(benchmark::State& State) {
  const RE2 re(kPatterns[State.range(0)]);
  EachLine(State, [&](std::string_view line) {
    return RE2::PartialMatch(re2::StringPiece(line.data(), line.size()), re);
  });
}

void Args(benchmark::internal::Benchmark* b) {
  for (int64_t mb : {16, 64})
    for (int64_t pattern = 0; pattern < 3; ++pattern) b->Args({pattern, mb});
  b->ArgNames({"pattern", "MB"})->Unit(benchmark::kMillisecond);
}

BENCHMARK(Pel)->Apply(Args)->Iterations(3);
BENCHMARK(Re2)->Apply(Args)->Iterations(3);
BENCHMARK(StdRegex)->Apply(Args)->Iterations(1);

}  // namespace
