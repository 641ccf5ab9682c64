// The portable pixel arithmetic of the 28 blend modes: the mode functions M(s, b), the hue
// group's taking apart and rebuilding of colours, and the two composites of one pixel (the
// non-style path and the style path). Every row of the blend tool, and every tool that blends
// pixel by pixel, uses these unchanged.
//
// All values are 8-bit channels held in signed 32-bit integers, and every division truncates.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace Orvel {
namespace BlendMath {

// x / 255 truncated; x is never negative where it is used.
inline int D(int x) { return x / 255; }
inline int Min255(int x) { return x < 255 ? x : 255; }
inline int Clamp255(int x) { return x < 0 ? 0 : (x > 255 ? 255 : x); }

inline int Max3(int a, int b, int c) { return a > b ? (a > c ? a : c) : (b > c ? b : c); }
inline int Min3(int a, int b, int c) { return a < b ? (a < c ? a : c) : (b < c ? b : c); }

// Pixels are blue, green, red, alpha in memory.
inline int Lum(const uint8_t* c) { return (7209 * c[0] + 38665 * c[1] + 19660 * c[2]) >> 16; }
inline int Chroma(const uint8_t* c) { return Max3(c[0], c[1], c[2]) - Min3(c[0], c[1], c[2]); }

// Hue on the 1536-step wheel, 256 steps to a sextant. The tests run red, green, blue, so red
// wins a tie for the largest channel.
inline int Hue(const uint8_t* c) {
  const int b = c[0], g = c[1], r = c[2];
  const int mx = Max3(b, g, r), chroma = mx - Min3(b, g, r);
  if (chroma == 0) return 0;
  if (mx == r) return ((((g - b) << 8) / chroma) + 1536) % 1536;
  if (mx == g) return (((b - r) << 8) / chroma) + 512;
  return (((r - g) << 8) / chroma) + 1024;
}

// The colour of hue h and chroma C, moved to luminance L; out is blue, green, red.
inline void Rebuild(int h, int C, int L, int out[3]) {
  const int t = ((256 - std::abs((h % 512) - 256)) * C) >> 8;
  int R, G, B;
  if (h < 256) {
    R = C, G = t, B = 0;
  } else if (h < 512) {
    R = t, G = C, B = 0;
  } else if (h < 768) {
    R = 0, G = C, B = t;
  } else if (h < 1024) {
    R = 0, G = t, B = C;
  } else if (h < 1280) {
    R = t, G = 0, B = C;
  } else {
    R = C, G = 0, B = t;
  }
  const int e = L - ((19660 * R + 38665 * G + 7209 * B) >> 16);
  out[0] = Clamp255(B + e);
  out[1] = Clamp255(G + e);
  out[2] = Clamp255(R + e);
}

// Saturation and Color keep near-neutral backdrops and the tonal ends from taking on strong
// colour: the chroma shrinks with a backdrop chroma below 5 and toward black and white.
inline int DampChroma(int C, int chromaB, int L) {
  if (chromaB < 5) C = (C * chromaB) / 5;
  if (L > 180)
    C = ((255 - L) * C) / 75;
  else if (L < 60)
    C = (C * L) / 60;
  return C;
}

// ---- mode functions: M(s, b) writes three channels (blue, green, red) to m ----

struct ModeBase {
  static constexpr bool kErase = false;
};

// A mode that works on each colour channel alone.
template <class Self>
struct ChannelMode : ModeBase {
  static void Mix(const uint8_t* s, const uint8_t* b, int m[3]) {
    for (int c = 0; c < 3; ++c) m[c] = Self::Channel(s[c], b[c]);
  }
};

struct ModeNormal : ChannelMode<ModeNormal> {
  static int Channel(int s, int) { return s; }
};
struct ModeDarken : ChannelMode<ModeDarken> {
  static int Channel(int s, int b) { return s < b ? s : b; }
};
struct ModeMultiply : ChannelMode<ModeMultiply> {
  static int Channel(int s, int b) { return D(s * b); }
};
struct ModeLinearBurn : ChannelMode<ModeLinearBurn> {
  static int Channel(int s, int b) { return s + b - 255 > 0 ? s + b - 255 : 0; }
};
struct ModeLighten : ChannelMode<ModeLighten> {
  static int Channel(int s, int b) { return s > b ? s : b; }
};
struct ModeScreen : ChannelMode<ModeScreen> {
  static int Channel(int s, int b) { return 255 - D((255 - s) * (255 - b)); }
};
struct ModeLinearDodge : ChannelMode<ModeLinearDodge> {
  static int Channel(int s, int b) { return s + b < 255 ? s + b : 255; }
};
struct ModeOverlay : ChannelMode<ModeOverlay> {
  static int Channel(int s, int b) {
    return b >= 128 ? 255 - D((510 - 2 * s) * (255 - b)) : D(2 * s * b);
  }
};
struct ModeLinearLight : ChannelMode<ModeLinearLight> {
  static int Channel(int s, int b) { return Clamp255(b + 2 * s - 255); }
};
struct ModeDifference : ChannelMode<ModeDifference> {
  static int Channel(int s, int b) { return b > s ? b - s : s - b; }
};
struct ModeExclusion : ChannelMode<ModeExclusion> {
  static int Channel(int s, int b) { return s + b - D(2 * s * b); }
};
struct ModeHardLight : ChannelMode<ModeHardLight> {
  static int Channel(int s, int b) {
    return s >= 128 ? 255 - D((510 - 2 * s) * (255 - b)) : D(2 * s * b);
  }
};
struct ModeSoftLight : ChannelMode<ModeSoftLight> {
  static int Channel(int s, int b) {
    int x;
    if (s < 128) {
      x = 2 * s * b + ((255 - 2 * s) * b * b) / 255;
    } else if (b >= 64) {
      // The square root is taken in 64-bit floats.
      x = (510 - 2 * s) * b + (2 * s - 255) * int(std::sqrt(double(b)) * 16.0);
    } else {
      const int g = (16 * b * b * b) / 65025 - (12 * b * b) / 255 + 4 * b;
      x = (510 - 2 * s) * b + (2 * s - 255) * g;
    }
    return Min255(D(x));
  }
};
struct ModeColorBurn : ChannelMode<ModeColorBurn> {
  static int Channel(int s, int b) {
    if (s == 0) return b < 255 ? 0 : 255;
    const int v = 255 - (65025 - 255 * b) / s;
    return v > 0 ? v : 0;
  }
};
struct ModeColorDodge : ChannelMode<ModeColorDodge> {
  static int Channel(int s, int b) {
    if (s == 255) return b != 0 ? 255 : 0;
    return Min255((255 * b) / (255 - s));
  }
};
struct ModeVividLight : ChannelMode<ModeVividLight> {
  static int Channel(int s, int b) {
    if (s >= 128) return s < 255 ? Min255((255 * b) / (510 - 2 * s)) : 255;
    if (s == 0) return 0;
    const int v = 255 - (65025 - 255 * b) / (2 * s);
    return v > 0 ? v : 0;
  }
};
struct ModePinLight : ChannelMode<ModePinLight> {
  static int Channel(int s, int b) {
    if (s >= 128) return 2 * s - 255 > b ? 2 * s - 255 : b;
    return 2 * s < b ? 2 * s : b;
  }
};
// VividLight with its two ends turned the other way round, then hardened to 0 or 255.
struct ModeHardMix : ChannelMode<ModeHardMix> {
  static int Channel(int s, int b) {
    int v;
    if (s == 255)
      v = b != 0 ? 255 : 0;
    else if (s == 0)
      v = b < 255 ? 0 : 255;
    else
      v = ModeVividLight::Channel(s, b);
    return v < 128 ? 0 : 255;
  }
};
struct ModeSubtract : ChannelMode<ModeSubtract> {
  static int Channel(int s, int b) { return b - s > 0 ? b - s : 0; }
};
struct ModeDivide : ChannelMode<ModeDivide> {
  static int Channel(int s, int b) {
    if (s == 0) return b != 0 ? 255 : 0;
    return Min255((255 * b) / s);
  }
};

struct ModeHue : ModeBase {
  static void Mix(const uint8_t* s, const uint8_t* b, int m[3]) {
    const int L = Lum(b), chromaS = Chroma(s), chromaB = Chroma(b);
    if (chromaS == 0 || chromaB == 0) {
      m[0] = m[1] = m[2] = L;
      return;
    }
    Rebuild(Hue(s), chromaB, L, m);
  }
};
struct ModeSaturation : ModeBase {
  static void Mix(const uint8_t* s, const uint8_t* b, int m[3]) {
    const int L = Lum(b);
    Rebuild(Hue(b), DampChroma(Chroma(s), Chroma(b), L), L, m);
  }
};
struct ModeColor : ModeBase {
  static void Mix(const uint8_t* s, const uint8_t* b, int m[3]) {
    const int L = Lum(b);
    Rebuild(Hue(s), DampChroma(Chroma(s), Chroma(b), L), L, m);
  }
};
struct ModeLuminosity : ModeBase {
  static void Mix(const uint8_t* s, const uint8_t* b, int m[3]) {
    const int L = Lum(s);
    // Near white the backdrop's chroma would clip; the cap replaces it outright.
    const int C = L > 244 ? (255 - L) >> 1 : Chroma(b);
    Rebuild(Hue(b), C, L, m);
  }
};
// The whole colour of one side; a tie of luminances keeps the source.
struct ModeDarkerColor : ModeBase {
  static void Mix(const uint8_t* s, const uint8_t* b, int m[3]) {
    const uint8_t* pick = Lum(b) < Lum(s) ? b : s;
    for (int c = 0; c < 3; ++c) m[c] = pick[c];
  }
};
struct ModeLighterColor : ModeBase {
  static void Mix(const uint8_t* s, const uint8_t* b, int m[3]) {
    const uint8_t* pick = Lum(s) < Lum(b) ? b : s;
    for (int c = 0; c < 3; ++c) m[c] = pick[c];
  }
};
// Erase has no colour: it only takes alpha away from the destination.
struct ModeErase : ModeBase {
  static constexpr bool kErase = true;
  static void Mix(const uint8_t*, const uint8_t*, int m[3]) { m[0] = m[1] = m[2] = 0; }
};

// The table order of the modes. Slot 27 (dissolve) is Normal: the dissolve itself happens
// before the blend, on the source's alpha.
// clang-format off
#define ORVEL_BLEND_MODE_LIST(X)                                                              \
  X(ModeNormal)      X(ModeDarken)     X(ModeMultiply)    X(ModeLinearBurn)  X(ModeLighten)   \
  X(ModeScreen)      X(ModeLinearDodge) X(ModeOverlay)    X(ModeLinearLight) X(ModeDifference) \
  X(ModeExclusion)   X(ModeHue)        X(ModeSaturation)  X(ModeLuminosity)  X(ModeErase)     \
  X(ModeHardLight)   X(ModeSoftLight)  X(ModeColorBurn)   X(ModeColorDodge)  X(ModeVividLight) \
  X(ModePinLight)    X(ModeHardMix)    X(ModeColor)       X(ModeSubtract)    X(ModeDivide)    \
  X(ModeDarkerColor) X(ModeLighterColor) X(ModeNormal)
// clang-format on

// ---- the composite of one pixel ----

// Non-style path: s is blended onto the backdrop r and the result goes to d (which may be r
// or s). op is the opacity multiplier 0..256. A pixel whose effective alpha is 0 is not
// written at all.
template <class Mode, bool kClip, bool kOverwrite>
inline void CompositePixel(const uint8_t* s, const uint8_t* r, uint8_t* d, int op) {
  const int e = kClip ? D(s[3] * r[3]) : s[3];
  const int a = (e * op) >> 8;
  if (a == 0) return;
  const int ra = r[3];
  if constexpr (Mode::kErase) {
    // Erase never mixes colour, so the overwrite flag means nothing to it.
    d[3] = uint8_t((ra * (255 - a)) / 255);
    return;
  }
  int m[3];
  Mode::Mix(s, r, m);
  if constexpr (kOverwrite) {
    for (int c = 0; c < 3; ++c) d[c] = uint8_t(Min255(m[c]));
    return;
  }
  const int wr = D((255 - a) * ra);
  const int ws = D((255 - ra) * a);
  const int wm = D(a * ra);
  const int A = a + wr;  // 1..255: a is at least 1 and wr at most 255 - a
  int out[3];
  for (int c = 0; c < 3; ++c) out[c] = Min255((r[c] * wr + s[c] * ws + m[c] * wm) / A);
  for (int c = 0; c < 3; ++c) d[c] = uint8_t(out[c]);
  d[3] = uint8_t(A);
}

// Style path: s (the object's pixels, blended in the mode) and y (what its styles drew over
// it, composited normally) go onto the destination d, which is also the backdrop.
template <class Mode, bool kClip>
inline void CompositeStylePixel(const uint8_t* s, const uint8_t* y, uint8_t* d, int op) {
  const int da = d[3];
  if constexpr (Mode::kErase) {
    // Erase clips by the second layer, not by the destination.
    const int e = kClip ? D(s[3] * y[3]) : s[3];
    const int a = (e * op) >> 8;
    if (a > 0) d[3] = uint8_t((da * (255 - a)) / 255);
    return;
  }
  const int e = kClip ? D(s[3] * da) : s[3];
  const int f = kClip ? D(y[3] * da) : y[3];
  if (e * op < 256 && f * op < 256) return;
  int m[3];
  Mode::Mix(s, d, m);
  // Where the backdrop is transparent the plain source takes the place of the blended colour.
  const int t = ((255 - da) * e) >> 8;
  if (t > 0) {
    const int u = D((255 - t) * da);
    const int n = t + u;
    for (int c = 0; c < 3; ++c) m[c] = Min255((s[c] * t + m[c] * u) / n);
  }
  const int U = (D((255 - e) * f) + e) & 255;  // the union of both layers' coverage
  const int A = (op * U) >> 8;
  const int q = (e * 255) / U;  // the source's share of the union
  const int wd = D(da * (255 - A));
  const int wy = D((255 - q) * A);
  const int wm = D(q * A);
  const int B = wd + A;
  int out[3];
  for (int c = 0; c < 3; ++c) out[c] = Min255((d[c] * wd + y[c] * wy + m[c] * wm) / B);
  for (int c = 0; c < 3; ++c) d[c] = uint8_t(out[c]);
  d[3] = uint8_t(B);
}

}  // namespace BlendMath
}  // namespace Orvel
