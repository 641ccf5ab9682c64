#pragma once

#include <cstdint>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "engine/trace.h"
#include "orvel/types.h"

namespace masks_test {

inline std::string dataPath(const char* name) { return std::string(ORVEL_TEST_DATA) + "/" + name; }

// The lines of a reference file without comments, each split into its words.
inline std::vector<std::vector<std::string>> readLines(const char* name) {
  std::vector<std::vector<std::string>> out;
  std::ifstream in(dataPath(name));
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream ss(line);
    std::vector<std::string> words;
    for (std::string w; ss >> w;) words.push_back(w);
    out.push_back(words);
  }
  return out;
}

// Owned pixel memory with a BufferData over it.
template <class T = uint8_t>
struct Image {
  std::vector<T> mem;
  Orvel::BufferData buf;

  Image(int w, int h, int step, int strideElems = 0) {
    if (strideElems == 0) strideElems = w * step;
    mem.assign(size_t(strideElems) * h, 0);
    buf.pBuffer = reinterpret_cast<uint8_t*>(mem.data());
    buf.nWidth = w;
    buf.nHeight = h;
    buf.nStride = strideElems * int(sizeof(T));
    buf.nPixelStep = step;
    buf.nMaxValue = sizeof(T) == 1 ? 255 : 65535;
    buf.nDepth = sizeof(T) == 1 ? 0 : 1;
    buf.nFormat = step == 1 ? (sizeof(T) == 1 ? Orvel::FORMAT_GRAY8 : Orvel::FORMAT_GRAY16)
                            : (sizeof(T) == 1 ? Orvel::FORMAT_BGRA8 : Orvel::FORMAT_BGRA16);
    buf.ROI = Orvel::IntRect{0, 0, w, h};
  }
  Image(const Image& o) : mem(o.mem), buf(o.buf) {
    buf.pBuffer = reinterpret_cast<uint8_t*>(mem.data());
  }
  Image& operator=(const Image&) = delete;

  int strideElems() const { return buf.nStride / int(sizeof(T)); }
  T& at(int x, int y, int c = 0) {
    return mem[size_t(y) * strideElems() + size_t(x) * buf.nPixelStep + c];
  }
  T at(int x, int y, int c = 0) const {
    return mem[size_t(y) * strideElems() + size_t(x) * buf.nPixelStep + c];
  }

  void fillRandom(uint32_t seed, int maxValue = sizeof(T) == 1 ? 255 : 65535) {
    std::mt19937 gen(seed);
    std::uniform_int_distribution<int> dist(0, maxValue);
    for (T& v : mem) v = static_cast<T>(dist(gen));
  }
};

// The first 64 draws on 0..255 of a generator seeded with 1, from the reference file.
inline const std::vector<int>& seed1Draws() {
  static const std::vector<int> draws = [] {
    for (const auto& w : readLines("noise.txt"))
      if (w[0] == "draw255" && w[1] == "1") {
        std::vector<int> v;
        for (size_t i = 2; i < w.size(); ++i) v.push_back(std::stoi(w[i]));
        return v;
      }
    return std::vector<int>{};
  }();
  return draws;
}

// Collects the trace lines written while it is alive.
struct TraceCapture {
  static std::vector<std::string>& lines() {
    static std::vector<std::string> l;
    return l;
  }
  TraceCapture() {
    lines().clear();
    Orvel::SetTraceSinkFn([](const char* line, void*) { lines().emplace_back(line); }, nullptr);
    Orvel::SetTraceSwitch(1);
  }
  ~TraceCapture() {
    Orvel::SetTraceSwitch(0);
    Orvel::SetTraceSinkFn(nullptr, nullptr);
  }
};

}  // namespace masks_test
