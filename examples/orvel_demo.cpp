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

// Layer A blended onto layer B in one mode; a mode the engine does not serve yet leaves
// the backdrop as it was and says so.
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
      {"Normal 100%", [](IOrvel4* e) { return panelBlend(e, 0, 100); }},
      {"Multiply 100%", [](IOrvel4* e) { return panelBlend(e, 2, 100); }},
      {"Screen 70%", [](IOrvel4* e) { return panelBlend(e, 4, 70); }},
      {"Difference 100%", [](IOrvel4* e) { return panelBlend(e, 9, 100); }},
  };

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
