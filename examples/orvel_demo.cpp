// orvel-demo: a host program that renders a showcase image through the public API only.
// Each showcase is one small panel function; the panels are laid out in a grid and written
// as one PNG.
#include <png.h>

#include <cmath>
#include <cstdio>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <orvel/orvel.h>

using namespace Orvel;

namespace {

constexpr int kPanel = 256;  // every panel is kPanel x kPanel pixels, BGRA8, straight alpha

// An owned BGRA8 image with a BufferData view over all of it.
struct Image {
  int w = 0, h = 0;
  std::vector<uint8_t> px;
  Image(int w_, int h_, uint8_t fill = 0) : w(w_), h(h_), px(size_t(w_) * h_ * 4, fill) {}
  uint8_t* at(int x, int y) { return &px[(size_t(y) * w + x) * 4]; }
  BufferData view() {
    BufferData b;
    b.pBuffer = px.data();
    b.nWidth = w;
    b.nHeight = h;
    b.nStride = w * 4;
    b.ROI = IntRect{0, 0, w, h};
    return b;
  }
};

// Synthetic layer A: a colour wheel disc with soft alpha toward its rim.
Image makeDisc() {
  Image img(kPanel, kPanel);
  const float c = kPanel / 2.0f, radius = kPanel * 0.42f;
  for (int y = 0; y < kPanel; ++y)
    for (int x = 0; x < kPanel; ++x) {
      float dx = x - c, dy = y - c, d = std::sqrt(dx * dx + dy * dy);
      float hue = std::atan2(dy, dx) / 6.2831853f + 0.5f;
      uint8_t* p = img.at(x, y);
      p[0] = uint8_t(255 * std::fabs(std::sin(3.14159f * (hue + 0.66f))));
      p[1] = uint8_t(255 * std::fabs(std::sin(3.14159f * (hue + 0.33f))));
      p[2] = uint8_t(255 * std::fabs(std::sin(3.14159f * hue)));
      float a = d < radius ? 1.0f : std::max(0.0f, 1.0f - (d - radius) / 12.0f);
      p[3] = uint8_t(255 * a);
    }
  return img;
}

// Synthetic layer B: an opaque checkered backdrop with a diagonal ramp.
Image makeBackdrop() {
  Image img(kPanel, kPanel);
  for (int y = 0; y < kPanel; ++y)
    for (int x = 0; x < kPanel; ++x) {
      uint8_t* p = img.at(x, y);
      bool dark = ((x / 32) + (y / 32)) & 1;
      uint8_t ramp = uint8_t((x + y) * 255 / (2 * kPanel - 2));
      p[0] = dark ? ramp / 2 : 200;
      p[1] = dark ? 90 : uint8_t(255 - ramp / 2);
      p[2] = dark ? 60 : ramp;
      p[3] = 255;
    }
  return img;
}

struct Panel {
  std::string title;
  std::function<Image(IOrvel4*)> render;
};

// ---- panels ----

Image panelLayerA(IOrvel4*) { return makeDisc(); }
Image panelLayerB(IOrvel4*) { return makeBackdrop(); }

// Layer A blended onto layer B in one mode; a mode the engine does not serve leaves the
// backdrop as it was and says so.
Image panelBlend(IOrvel4* engine, int mode, int opacity) {
  Image src = makeDisc(), dst = makeBackdrop();
  BufferData in = src.view(), out = dst.view();
  BlendParam prm;
  prm.nBlendMode = mode;
  prm.nOpacity = opacity;
  prm.bLegacyFlag = false;
  HRESULT hr = engine->Blend(&in, &out, &prm);
  if (hr < 0) std::fprintf(stderr, "orvel-demo: Blend mode %d answered 0x%08x\n", mode, unsigned(hr));
  return dst;
}

// The contact sheet of the blend modes: layer A on layer B in each of the 28 modes, one panel
// each, in the order of the mode numbers.
const char* const kBlendModeNames[BLEND_MODE_COUNT] = {
    "Normal",       "Darken",       "Multiply",      "Linear Burn", "Lighten",    "Screen",
    "Linear Dodge", "Overlay",      "Linear Light",  "Difference",  "Exclusion",  "Hue",
    "Saturation",   "Luminosity",   "Erase",         "Hard Light",  "Soft Light", "Color Burn",
    "Color Dodge",  "Vivid Light",  "Pin Light",     "Hard Mix",    "Color",      "Subtract",
    "Divide",       "Darker Color", "Lighter Color", "Dissolve"};

Image panelDissolve(IOrvel4* engine);

void addBlendModePanels(std::vector<Panel>& panels) {
  // Dissolve needs a registered noise pattern; its panel shows four opacities.
  for (int mode = 0; mode < BLEND_MODE_COUNT; ++mode)
    panels.push_back({std::string("blend mode ") + std::to_string(mode) + ": " +
                          kBlendModeNames[mode],
                      [mode](IOrvel4* e) {
                        return mode == BLEND_DISSOLVE ? panelDissolve(e) : panelBlend(e, mode, 100);
                      }});
}

// The backdrop takes the colour statistics of the disc: left half before, right half after.
Image panelColorMatch(IOrvel4* engine) {
  Image reference = makeDisc(), before = makeBackdrop(), after = makeBackdrop();
  BufferData in = reference.view(), out = after.view();
  int unused = 0;  // the operation wants a parameter record but reads nothing in it
  HRESULT hr = engine->ColorMatch(&in, &out, &unused);
  if (hr < 0) std::fprintf(stderr, "orvel-demo: ColorMatch answered 0x%08x\n", unsigned(hr));
  for (int y = 0; y < kPanel; ++y)
    for (int x = 0; x < kPanel / 2; ++x)
      for (int c = 0; c < 4; ++c) after.at(x, y)[c] = before.at(x, y)[c];
  return after;
}

// The disc placed on the backdrop through a matrix built with the engine's own matrix
// operations. Transform composites in Normal; for another mode the disc is placed on a clear
// layer first and that layer is blended.
TransformMatrix rotatedDiscMatrix(IOrvel4* engine) {
  TransformMatrix m;
  const float c = kPanel / 2.0f;
  engine->MatrixScale(&m, 0.7f, 0.7f, c, c);
  engine->MatrixRotate(&m, 0.5235988f, c, c);  // 30 degrees
  return m;
}

TransformMatrix perspectiveDiscMatrix(IOrvel4* engine) {
  TransformMatrix m;
  const float s = float(kPanel);
  const float from[8] = {0, 0, s, 0, s, s, 0, s};
  const float to[8] = {70, 30, 200, 60, 236, 220, 20, 250};
  HRESULT hr = engine->MatrixPerspective(&m, from, to, 4);
  if (hr < 0) std::fprintf(stderr, "orvel-demo: MatrixPerspective answered 0x%08x\n", unsigned(hr));
  return m;
}

Image panelTransform(IOrvel4* engine, const TransformMatrix& m, int mode) {
  Image disc = makeDisc(), dst = makeBackdrop(), layer(kPanel, kPanel);
  BufferData in = disc.view(), out = dst.view(), placed = layer.view();
  TransformParam prm;
  prm.pBufIn = &in;
  prm.TransformMatrix = m;
  HRESULT hr = engine->Transform(mode == BLEND_NORMAL ? &out : &placed, &prm);
  if (hr >= 0 && mode != BLEND_NORMAL) {
    BlendParam blend;
    blend.nBlendMode = mode;
    blend.bLegacyFlag = false;
    hr = engine->Blend(&placed, &out, &blend);
  }
  if (hr < 0) std::fprintf(stderr, "orvel-demo: Transform panel answered 0x%08x\n", unsigned(hr));
  return dst;
}

void addTransformPanels(std::vector<Panel>& panels) {
  panels.push_back({"Transform: 0.7 size, 30 degrees", [](IOrvel4* e) {
                      return panelTransform(e, rotatedDiscMatrix(e), BLEND_NORMAL);
                    }});
  panels.push_back({"Transform: perspective", [](IOrvel4* e) {
                      return panelTransform(e, perspectiveDiscMatrix(e), BLEND_NORMAL);
                    }});
  panels.push_back({"Transform, then Blend Multiply", [](IOrvel4* e) {
                      return panelTransform(e, rotatedDiscMatrix(e), BLEND_MULTIPLY);
                    }});
  panels.push_back({"Transform (perspective), then Blend Screen", [](IOrvel4* e) {
                      return panelTransform(e, perspectiveDiscMatrix(e), BLEND_SCREEN);
                    }});
}

// ---- dissolve, selections and masks ----

// A noise pattern of panel size, generated and registered by the engine for dissolve; the
// record stays alive while it is registered and is unregistered before the engine goes.
struct DemoNoise {
  IOrvel4* engine;
  std::vector<uint8_t> bytes = std::vector<uint8_t>(size_t(kPanel) * kPanel);
  NoiseParam param;
  explicit DemoNoise(IOrvel4* e) : engine(e) {
    param.nType = 0;
    param.nWidth = param.nHeight = kPanel;
    param.nSeed = 2024;
    param.Pattern.pBuffer = bytes.data();
    param.Pattern.nWidth = param.Pattern.nHeight = kPanel;
    param.Pattern.nStride = kPanel;
    param.Pattern.nPixelStep = 1;
    param.Pattern.nFormat = FORMAT_GRAY8;
    param.Pattern.ROI = IntRect{0, 0, kPanel, kPanel};
    HRESULT hr = engine->GenerateNoisePattern(&param);
    if (hr >= 0) hr = engine->SetNoisePattern(&param);
    if (hr < 0) std::fprintf(stderr, "orvel-demo: noise pattern answered 0x%08x\n", unsigned(hr));
  }
  ~DemoNoise() { engine->SetNoisePattern(nullptr); }
};

// Dissolve at four opacities, side by side in bands: the disc's alpha hardened against the
// registered noise, then blended as Normal.
Image panelDissolve(IOrvel4* engine) {
  DemoNoise noise(engine);
  Image result = makeBackdrop();
  const int opacities[4] = {20, 45, 70, 100};
  for (int band = 0; band < 4; ++band) {
    Image src = makeDisc(), dst = makeBackdrop();
    BufferData in = src.view(), out = dst.view();
    BlendParam prm;
    prm.nBlendMode = BLEND_DISSOLVE;
    prm.nOpacity = opacities[band];
    prm.bLegacyFlag = false;
    prm.dissolve_param.nWidth = prm.dissolve_param.nHeight = kPanel;
    HRESULT hr = engine->Blend(&in, &out, &prm);
    if (hr < 0) std::fprintf(stderr, "orvel-demo: Dissolve answered 0x%08x\n", unsigned(hr));
    for (int y = 0; y < kPanel; ++y)
      for (int x = band * kPanel / 4; x < (band + 1) * kPanel / 4; ++x)
        for (int c = 0; c < 4; ++c) result.at(x, y)[c] = dst.at(x, y)[c];
  }
  return result;
}

// Two selections held in alpha: a rectangle and a ring.
Image rectangleSelection() {
  Image img(kPanel, kPanel);
  for (int y = 40; y < 150; ++y)
    for (int x = 30; x < 170; ++x) img.at(x, y)[3] = 255;
  return img;
}
Image ringSelection() {
  Image img(kPanel, kPanel);
  for (int y = 0; y < kPanel; ++y)
    for (int x = 0; x < kPanel; ++x) {
      float d = std::hypot(x - 160.0f, y - 150.0f);
      if (d > 40.0f && d < 90.0f) img.at(x, y)[3] = 255;
    }
  return img;
}

// The ring merged into the rectangle selection (exclusive or), shown in the merge colour.
Image panelMergedSelection(IOrvel4* engine) {
  Image sel = rectangleSelection(), ring = ringSelection(), dst = makeBackdrop();
  BufferData dstSel = sel.view(), srcSel = ring.view();
  for (int y = 0; y < kPanel; ++y)  // the rectangle in its own colour
    for (int x = 0; x < kPanel; ++x) sel.at(x, y)[0] = 230, sel.at(x, y)[1] = 120, sel.at(x, y)[2] = 30;
  MergeParam prm;
  prm.nMergeMode = MERGE_EXCLUDE;
  prm.rcMerge = IntRect{0, 0, kPanel, kPanel};
  prm.crMerge = Color(40, 200, 250, 255);
  HRESULT hr = engine->Merge(&srcSel, &dstSel, &prm);
  BufferData out = dst.view();
  BlendParam normal;
  normal.nOpacity = 80;
  normal.bLegacyFlag = false;
  if (hr >= 0) hr = engine->Blend(&dstSel, &out, &normal);
  if (hr < 0) std::fprintf(stderr, "orvel-demo: Merge panel answered 0x%08x\n", unsigned(hr));
  return dst;
}

// The merged selection as a grey mask, blurred, inverted in its left half, and applied to
// the disc before it is blended onto the backdrop.
Image panelBlurredMask(IOrvel4* engine) {
  Image sel = rectangleSelection(), ring = ringSelection(), disc = makeDisc(), dst = makeBackdrop();
  BufferData dstSel = sel.view(), srcSel = ring.view();
  MergeParam prm;
  prm.nMergeMode = MERGE_ADD;
  prm.rcMerge = IntRect{0, 0, kPanel, kPanel};
  HRESULT hr = engine->Merge(&srcSel, &dstSel, &prm);
  std::vector<uint8_t> grey(size_t(kPanel) * kPanel);
  for (int y = 0; y < kPanel; ++y)
    for (int x = 0; x < kPanel; ++x) grey[size_t(y) * kPanel + x] = sel.at(x, y)[3];
  BufferData mask;
  mask.pBuffer = grey.data();
  mask.nWidth = mask.nHeight = kPanel;
  mask.nStride = kPanel;
  mask.nPixelStep = 1;
  mask.nFormat = FORMAT_GRAY8;
  mask.ROI = IntRect{0, 0, kPanel, kPanel};
  const int32_t radius = 10;
  if (hr >= 0) hr = engine->BlurMask(&mask, &radius);
  BufferData left = mask;
  left.ROI = IntRect{0, 0, kPanel / 2, kPanel};
  if (hr >= 0) hr = engine->InvertMask(&left);
  BufferData object = disc.view(), out = dst.view();
  Point origin{0, 0};
  if (hr >= 0) hr = engine->ApplyMask(&object, &mask, &origin);
  BlendParam normal;
  normal.bLegacyFlag = false;
  if (hr >= 0) hr = engine->Blend(&object, &out, &normal);
  if (hr < 0) std::fprintf(stderr, "orvel-demo: mask panel answered 0x%08x\n", unsigned(hr));
  return dst;
}

void addMaskPanels(std::vector<Panel>& panels) {
  panels.push_back({"Dissolve at 20, 45, 70 and 100 %", panelDissolve});
  panels.push_back({"Merge: rectangle XOR ring selection", panelMergedSelection});
  panels.push_back({"BlurMask + InvertMask (left) + ApplyMask on layer A", panelBlurredMask});
}

// ---- gradients ----

// One colour table for all five shapes: four colour stops, the second pulled towards the first
// by its midpoint, and an opacity dip in the middle that lets the backdrop through.
void buildDemoGradient(IOrvel4* engine) {
  const float colorPos[] = {0.0f, 0.35f, 0.7f, 1.0f};
  const int32_t red[] = {250, 255, 40, 120}, green[] = {70, 210, 180, 40},
                blue[] = {30, 60, 240, 200};
  const float opacityPos[] = {0.0f, 0.5f, 1.0f};
  const int32_t opacities[] = {255, 150, 255};
  HRESULT hr =
      engine->GradientReference(4, colorPos, red, green, blue, 3, opacityPos, opacities, false);
  if (hr < 0) std::fprintf(stderr, "orvel-demo: GradientReference answered 0x%08x\n", unsigned(hr));
}

// The gradient drawn as a panel-sized object and placed on the backdrop in Normal.
Image panelGradient(IOrvel4* engine, int type, Point begin, Point end) {
  buildDemoGradient(engine);
  Image dst = makeBackdrop();
  BufferData out = dst.view();
  GradientParam prm;
  prm.nGradientType = type;
  prm.nBlendMode = BLEND_NORMAL;
  prm.nOpacity = 100;
  prm.ptBegin = begin;
  prm.ptEnd = end;
  prm.nWidth = prm.nHeight = kPanel;
  HRESULT hr = engine->GenerateGradient(&out, &prm);
  if (hr < 0)
    std::fprintf(stderr, "orvel-demo: GenerateGradient %d answered 0x%08x\n", type, unsigned(hr));
  return dst;
}

void addGradientPanels(std::vector<Panel>& panels) {
  const float c = kPanel / 2.0f;
  panels.push_back(
      {"Gradient: linear", [](IOrvel4* e) {
         return panelGradient(e, 0, Point{20, 40}, Point{kPanel - 20.0f, kPanel - 40.0f});
       }});
  panels.push_back({"Gradient: radial", [c](IOrvel4* e) {
                      return panelGradient(e, 1, Point{c, c}, Point{c, 12});
                    }});
  panels.push_back({"Gradient: angle", [c](IOrvel4* e) {
                      return panelGradient(e, 2, Point{c, c}, Point{kPanel - 10.0f, c});
                    }});
  panels.push_back({"Gradient: reflected", [c](IOrvel4* e) {
                      return panelGradient(e, 3, Point{c, c}, Point{c + 70, c + 70});
                    }});
  panels.push_back({"Gradient: diamond", [c](IOrvel4* e) {
                      return panelGradient(e, 4, Point{c, c}, Point{c, 30});
                    }});
}

// ---- output ----

bool writePng(const char* path, Image& img) {
  FILE* f = std::fopen(path, "wb");
  if (!f) return false;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  if (!png || !info || setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    std::fclose(f);
    return false;
  }
  png_init_io(png, f);
  png_set_IHDR(png, info, img.w, img.h, 8, PNG_COLOR_TYPE_RGBA, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_bgr(png);  // our pixels are blue, green, red, alpha in memory
  png_write_info(png, info);
  for (int y = 0; y < img.h; ++y) png_write_row(png, img.at(0, y));
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  std::fclose(f);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const char* path = argc > 1 ? argv[1] : "orvel-demo.png";

  void* instance = nullptr;
  CreateInstance(&instance);
  auto* engine = static_cast<IOrvel4*>(QueryInterface("IOrvel4", instance));
  if (!engine) {
    std::fprintf(stderr, "orvel-demo: no engine\n");
    return 1;
  }

  std::vector<Panel> panels = {
      {"layer A", panelLayerA},
      {"layer B", panelLayerB},
      {"ColorMatch before | after", panelColorMatch},
  };
  addBlendModePanels(panels);
  addTransformPanels(panels);
  addMaskPanels(panels);
  addGradientPanels(panels);

  const int columns = 3, gap = 8;
  const int rows = int(panels.size() + columns - 1) / columns;
  Image sheet(columns * kPanel + (columns + 1) * gap, rows * kPanel + (rows + 1) * gap, 40);
  for (size_t i = 0; i < panels.size(); ++i) {
    Image panel = panels[i].render(engine);
    int ox = gap + int(i % columns) * (kPanel + gap), oy = gap + int(i / columns) * (kPanel + gap);
    for (int y = 0; y < kPanel; ++y)
      for (int x = 0; x < kPanel; ++x) {
        // Composite the panel over the sheet's grey for display.
        uint8_t* s = panel.at(x, y);
        uint8_t* d = sheet.at(ox + x, oy + y);
        for (int c = 0; c < 3; ++c) d[c] = uint8_t((s[c] * s[3] + d[c] * (255 - s[3])) / 255);
        d[3] = 255;
      }
    std::printf("panel %zu: %s\n", i, panels[i].title.c_str());
  }

  DeleteInstance(&instance);
  if (!writePng(path, sheet)) {
    std::fprintf(stderr, "orvel-demo: cannot write %s\n", path);
    return 1;
  }
  std::printf("wrote %s\n", path);
  return 0;
}
