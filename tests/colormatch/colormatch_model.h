// A plain model of the colour match, written from its rules one pixel and one addition at a
// time, with no vectors, threads or shared code. The tests check the model itself against the
// reference values first, then the tool against the model.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

namespace cmodel {

struct Image {
  int w = 0, h = 0;
  std::vector<uint8_t> px;  // packed b g r a
  uint8_t* at(int x, int y) { return &px[(static_cast<size_t>(y) * w + x) * 4]; }
  const uint8_t* at(int x, int y) const { return &px[(static_cast<size_t>(y) * w + x) * 4]; }
};

struct Lab {
  float v[4];
};

// x86 conversion: out of range or not a number gives INT32_MIN.
inline int32_t cvtTrunc(float x) {
  if (!(x >= -2147483648.0f && x < 2147483648.0f)) return INT32_MIN;
  return static_cast<int32_t>(x);
}
inline int32_t cvtRound(float x) {
  if (!(x >= -2147483648.0f && x < 2147483648.0f)) return INT32_MIN;
  return static_cast<int32_t>(std::nearbyint(x));
}

inline float logOf(float v) {
  const float f = 8.262958e-8f * (1.0f / (static_cast<float>(27749387) * 8.262958e-8f));
  const int32_t i = static_cast<int32_t>(std::bit_cast<uint32_t>(v) - 1064866805u);
  return static_cast<float>(i) * f;
}

inline float expOf(float x, bool round) {
  const float s = x * static_cast<float>(27749387) + 1064866816.0f;
  return std::bit_cast<float>(round ? cvtRound(s) : cvtTrunc(s));
}

inline Lab toLab(const uint8_t* p) {
  float c[3];
  for (int k = 0; k < 3; ++k) c[k] = static_cast<float>(p[k] == 0 ? 1 : p[k]) / 255.0f;
  const float b = c[0], g = c[1], r = c[2];
  const float L = logOf(0.0402f * b + 0.5783f * g + 0.3811f * r);
  const float M = logOf(0.0782f * b + 0.7244f * g + 0.1967f * r);
  const float S = logOf(0.8444f * b + 0.1288f * g + 0.0241f * r);
  return Lab{{(L + M) + S, (L + M) - S - S, L - M, static_cast<float>(p[3])}};
}

// One channel in 0..1 to its byte. Portable form: double product, truncation. Fast block:
// float product, rounding to nearest.
inline uint8_t toByte(float c, bool fastBlock) {
  if (fastBlock) {
    float f = c * 255.0f;
    if (!(f >= 0.0f)) f = 0.0f;
    if (f > 255.0f) f = 255.0f;
    return static_cast<uint8_t>(cvtRound(f));
  }
  double d = c * 255.0;
  if (!(d >= 0.0)) d = 0.0;
  if (d > 255.0) d = 255.0;
  return static_cast<uint8_t>(static_cast<int32_t>(d));
}

inline void toPixel(const Lab& lab, uint8_t* p, bool fastBlock) {
  const float u = lab.v[0] / 3.0f, v = lab.v[1] / 6.0f, w = lab.v[2] * 0.5f;
  const float L = expOf((u + v) + w, fastBlock);
  const float M = expOf((u + v) - w, fastBlock);
  const float S = expOf((u - v) - v, fastBlock);
  p[0] = toByte((0.0497f * L - 0.2439f * M) + 1.2045f * S, fastBlock);
  p[1] = toByte((-1.2186f * L + 2.3809f * M) - 0.1624f * S, fastBlock);
  p[2] = toByte((4.4679f * L - 3.5873f * M) + 0.1193f * S, fastBlock);
  p[3] = static_cast<uint8_t>(cvtTrunc(lab.v[3]));
}

// How one side adds up: the form, and the number of row strips (1: serial).
struct Order {
  bool fast = false;
  int strips = 1;
};

struct Stats {
  float sum[3], mean[3], var[3];
};

// The portable sums go two ways per row (even pixels into the running total, odd ones into a
// row total added at the row's end, an odd width's last pixel after it); its squared deviations
// and all of the fast form's totals are one running total. Strips of rows (the last taking the
// rest) add up on their own, and their partials are added in strip order.
template <typename Term>
float total(const std::vector<Lab>& lab, int w, int h, Order o, bool twoWay, int c, Term term) {
  float all = 0.0f;
  for (int s = 0; s < o.strips; ++s) {
    float t = 0.0f;
    const int y1 = s == o.strips - 1 ? h : (s + 1) * (h / o.strips);
    for (int y = s * (h / o.strips); y < y1; ++y) {
      const Lab* row = &lab[static_cast<size_t>(y) * w];
      float odd = 0.0f;
      int x = 0;
      for (; twoWay && x + 1 < w; x += 2) {
        t += term(row[x].v[c], c);
        odd += term(row[x + 1].v[c], c);
      }
      if (twoWay) t += odd;
      for (; x < w; ++x) t += term(row[x].v[c], c);
    }
    all += t;
  }
  return all;
}

inline Stats stats(const std::vector<Lab>& lab, int w, int h, Order o) {
  Stats st{};
  const float n = static_cast<float>(static_cast<int64_t>(w) * h);
  for (int c = 0; c < 3; ++c) {
    st.sum[c] = total(lab, w, h, o, !o.fast, c, [](float v, int) { return v; });
    st.mean[c] = st.sum[c] / n;
  }
  for (int c = 0; c < 3; ++c) {
    st.var[c] = total(lab, w, h, o, false, c, [&](float v, int k) {
      const float d = v - st.mean[k];
      return d * d;
    });
  }
  return st;
}

inline std::vector<Lab> labOf(const Image& im) {
  std::vector<Lab> lab(static_cast<size_t>(im.w) * im.h);
  for (int y = 0; y < im.h; ++y)
    for (int x = 0; x < im.w; ++x) lab[static_cast<size_t>(y) * im.w + x] = toLab(im.at(x, y));
  return lab;
}

struct Match {
  Stats tar, src;
  float ratio[3], offset[3];
  Image out;
};

// The whole operation: src takes the statistics of tar.
inline Match match(const Image& tar, const Image& src, Order tarOrder, Order srcOrder) {
  Match m;
  const std::vector<Lab> tl = labOf(tar);
  const std::vector<Lab> sl = labOf(src);
  m.tar = stats(tl, tar.w, tar.h, tarOrder);
  m.src = stats(sl, src.w, src.h, srcOrder);
  const float Nt = static_cast<float>(static_cast<int64_t>(tar.w) * tar.h);
  const float Ns = static_cast<float>(static_cast<int64_t>(src.w) * src.h);
  for (int c = 0; c < 3; ++c) {
    m.ratio[c] = std::sqrt((m.tar.var[c] * Ns) / (m.src.var[c] * Nt));
    m.offset[c] = m.tar.mean[c] - m.src.mean[c] * m.ratio[c];
  }
  m.out = src;
  const bool fast = srcOrder.fast;
  for (int y = 0; y < src.h; ++y) {
    for (int x = 0; x < src.w; ++x) {
      Lab d = sl[static_cast<size_t>(y) * src.w + x];
      for (int c = 0; c < 3; ++c) d.v[c] = d.v[c] * m.ratio[c] + m.offset[c];
      toPixel(d, m.out.at(x, y), fast && x < (src.w / 4) * 4);
    }
  }
  return m;
}

}  // namespace cmodel
