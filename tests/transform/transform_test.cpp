// The transform tool: statuses, the translation branch, the resampling branch of each row
// against its own rule, the mask branch, the strips, and the composite of every mode.
#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "compositing/CBlendTool.h"
#include "compositing/CTransformTool.h"
#include "compositing/blend_modes.h"
#include "compositing/matrix_ops.h"
#include "engine/COrvel.h"
#include "engine/trace.h"
#include "transform_model.h"

using namespace Orvel;
using model::Image;

namespace {

BlendParam plain(int mode = BLEND_NORMAL, int opacity = 100) {
  BlendParam p;
  p.nBlendMode = mode;
  p.nOpacity = opacity;
  p.bLegacyFlag = false;
  return p;
}

TransformMatrix translation(float dx, float dy) {
  TransformMatrix m;
  m.m[12] = dx;
  m.m[13] = dy;
  return m;
}

TransformMatrix rotation(float angle, float cx, float cy) {
  TransformMatrix m;
  MatrixOps::Rotate(m, angle, cx, cy);
  return m;
}

TransformMatrix perspective(const float to[8]) {
  TransformMatrix m;
  const float from[8] = {0, 0, 40, 0, 40, 30, 0, 30};
  EXPECT_EQ(MatrixOps::Perspective(m, from, to, 4), S_OK);
  return m;
}

// A tool on its own pool of n threads.
struct Rig {
  CThreadPool pool;
  CBlendTool blend{&pool};
  CTransformTool tool{&pool, &blend};
  explicit Rig(int threads = 4, bool bFast = false) {
    pool.Init(threads);
    tool.SetFastPath(bFast);
  }
  HRESULT run(Image& src, Image& dst, const TransformMatrix& m, const BlendParam& p = plain()) {
    BufferData in = src.buffer(), out = dst.buffer();
    return tool.Process(&in, &out, &p, &m);
  }
};

// A single-channel buffer over bytes.
BufferData maskBuffer(std::vector<uint8_t>& px, int w, int h) {
  BufferData b;
  b.pBuffer = px.data(), b.nWidth = w, b.nHeight = h, b.nStride = w, b.nPixelStep = 1;
  b.ROI = IntRect{0, 0, w, h};
  return b;
}

}  // namespace

TEST(TransformStatus, BadInputLeavesTheDestinationAlone) {
  Rig rig;
  Image src(40, 30), dst(64, 48);
  src.fillRandom(1);
  BufferData in = src.buffer(), out = dst.buffer();
  BlendParam ok = plain(), legacy = plain(), badMode = plain(28);
  legacy.bLegacyFlag = true;
  TransformMatrix singular, nanM = rotation(0.3f, 5, 5), infM = nanM;
  singular.m[0] = 0.0f;
  nanM.m[4] = std::nanf("");
  infM.m[0] = INFINITY;
  BufferData noPixels = in, outside = in, deep = in, mask = in, threeChannels = out;
  noPixels.pBuffer = nullptr;
  outside.ROI = IntRect{0, 0, 41, 30};
  deep.nDepth = 1;
  mask.nPixelStep = 1;
  threeChannels.nPixelStep = 3;
  const TransformMatrix r = rotation(0.3f, 5, 5);
  struct {
    const char* name;
    const BufferData* in;
    BufferData* out;
    const BlendParam* p;
    const TransformMatrix* m;
    HRESULT status;
  } cases[] = {
      {"null source", nullptr, &out, &ok, &r, E_POINTER},
      {"null destination", &in, nullptr, &ok, &r, E_POINTER},
      {"source without pixels", &noPixels, &out, &ok, &r, E_POINTER},
      {"legacy flag", &in, &out, &legacy, &r, E_NOTIMPL},
      {"16-bit source", &deep, &out, &ok, &r, E_NOTIMPL},
      {"mode past the table", &in, &out, &badMode, &r, E_INVALIDARG},
      {"source ROI past its memory", &outside, &out, &ok, &r, E_INVALIDARG},
      {"mask source, colour destination", &mask, &out, &ok, &r, E_INVALIDARG},
      {"three-channel destination", &in, &threeChannels, &ok, &r, E_INVALIDARG},
      {"singular matrix", &in, &out, &ok, &singular, E_FAIL},
      {"NaN element", &in, &out, &ok, &nanM, E_FAIL},
      {"infinite element", &in, &out, &ok, &infM, E_FAIL},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(rig.tool.Process(c.in, c.out, c.p, c.m), c.status) << c.name;
    EXPECT_EQ(dst.px, std::vector<uint8_t>(dst.px.size(), 0)) << c.name;
  }
  // Off the destination, or a source ROI of zero width: success, and nothing written.
  EXPECT_EQ(rig.run(src, dst, translation(500.0f, 0.0f)), S_OK);
  BufferData thin = in;
  thin.ROI = IntRect{10, 0, 10, 30};
  EXPECT_EQ(rig.tool.Process(&thin, &out, &ok, &r), S_OK);
  EXPECT_EQ(dst.px, std::vector<uint8_t>(dst.px.size(), 0));
}

TEST(TransformStatus, ZeroDivisorsAreSkippedAndTheRestIsWritten) {
  // The forward divisor x / 8 - 1 changes sign inside the source, so the mapped box reaches
  // across infinity, and the inverse's divisor X / 8 - 1 vanishes on destination column 8.
  Rig rig;
  Image src(16, 16), dst(32, 32);
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 16; ++x) src.at(x, y)[2] = src.at(x, y)[3] = 255;
  TransformMatrix m;
  m.m[3] = 0.125f, m.m[15] = -1.0f, m.m[12] = -4.0f;
  EXPECT_EQ(rig.run(src, dst, m), S_OK);
  int written = 0;
  for (int y = 0; y < 32; ++y)
    for (int x = 0; x < 32; ++x)
      if (dst.at(x, y)[3]) {
        ++written;
        EXPECT_EQ(dst.at(x, y)[2], 255) << x << "," << y;
        EXPECT_NE(x, 8);
      }
  EXPECT_GT(written, 0);
}

TEST(TransformTranslation, FractionalMovesTruncateTheStartOfTheWalk) {
  // One strip: the walk starts at trunc(x0 + Inverse[12]); the destination is clear, so the
  // composite leaves each source pixel as it is.
  struct {
    float dx;
    int firstX, readsAt;
  } cases[] = {{2.7f, 3, 0}, {-2.7f, 0, 2}, {4.0f, 4, 0}, {0.3f, 0, 0}};
  for (const auto& c : cases) {
    Rig rig(1);
    Image src(10, 4), dst(20, 4);
    src.fillRandom(3, 1);
    ASSERT_EQ(rig.run(src, dst, translation(c.dx, 0.0f)), S_OK);
    for (int x = 0; x < c.firstX; ++x) EXPECT_EQ(dst.at(x, 1)[3], 0) << c.dx << " col " << x;
    EXPECT_EQ(std::memcmp(dst.at(c.firstX, 1), src.at(c.readsAt, 1), 4), 0) << c.dx;
  }
  // Within 0.0001 of the identity in its linear part: a translation, and the table stays.
  Rig rig(1);
  Image src(12, 12), dst(20, 20);
  src.fillRandom(4, 1);
  rig.tool.m_Interpolator.SetSharpness(0.6f);
  TransformMatrix m = translation(3.0f, 2.0f);
  m.m[0] = 1.00005f, m.m[1] = 0.00005f;
  ASSERT_EQ(rig.run(src, dst, m), S_OK);
  EXPECT_EQ(rig.tool.m_Interpolator.m_fSharpness, 0.6f);
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 12; ++x) ASSERT_EQ(std::memcmp(dst.at(x + 3, y + 2), src.at(x, y), 4), 0);
}

TEST(TransformMask, TranslationCopiesBytesAndOtherMatricesTakeTheLinearSample) {
  Rig rig(1);
  const int w = 12, h = 10;
  std::vector<uint8_t> src(w * h), dst(20 * 20, 9);
  for (int i = 0; i < w * h; ++i) src[i] = uint8_t(i * 37);
  BufferData in = maskBuffer(src, w, h), out = maskBuffer(dst, 20, 20);
  const BlendParam p = plain(BLEND_MULTIPLY, 10);  // mode and opacity play no part
  const TransformMatrix t = translation(2.0f, 1.0f);
  ASSERT_EQ(rig.tool.Process(&in, &out, &p, &t), S_OK);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 20; ++x) {
      const bool inside = x >= 2 && x < 2 + w && y >= 1 && y < 1 + h;
      ASSERT_EQ(dst[y * 20 + x], inside ? src[(y - 1) * w + x - 2] : 9) << x << "," << y;
    }

  std::fill(dst.begin(), dst.end(), 9);
  rig.tool.m_Interpolator.SetSharpness(0.6f);
  const TransformMatrix r = rotation(0.5f, 6, 5);
  ASSERT_EQ(rig.tool.Process(&in, &out, &p, &r), S_OK);
  EXPECT_EQ(rig.tool.m_Interpolator.m_fSharpness, 0.6f);  // the ratios are not updated
  double md[16], inv[16];
  for (int i = 0; i < 16; ++i) md[i] = r.m[i];
  MatrixOps::InvertByCofactors(md, inv);
  int sampled = 0;
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 20; ++x) {
      const double rD = 1.0 / (inv[7] * y + inv[15] + inv[3] * x);
      double X = (inv[4] * y + inv[12] + inv[0] * x) * rD,
             Y = (inv[5] * y + inv[13] + inv[1] * x) * rD;
      if (std::fabs(X - w) < 0.0001) X = w - 1;
      if (std::fabs(Y - h) < 0.0001) Y = h - 1;
      if (!(X > -0.001 && X < w - 1 + 0.001 && Y > -0.001 && Y < h - 1 + 0.001)) {
        EXPECT_EQ(dst[y * 20 + x], 9) << x << "," << y;
        continue;
      }
      const int ix = int(X), iy = int(Y);
      const int fx = int((std::fabs(X) - ix) * 256), fy = int((std::fabs(Y) - iy) * 256);
      const int x1 = std::min(ix + 1, w - 1), y1 = std::min(iy + 1, h - 1);
      const int v = ((src[iy * w + ix] * (256 - fx) + src[iy * w + x1] * fx) * (256 - fy) +
                     (src[y1 * w + ix] * (256 - fx) + src[y1 * w + x1] * fx) * fy) >>
                    16;
      EXPECT_EQ(dst[y * 20 + x], v) << x << "," << y;
      ++sampled;
    }
  EXPECT_GT(sampled, 60);
}

TEST(TransformResample, EachRowFollowsItsOwnRule) {
  // Row 0 against the integer-form model, row 1 against the single-precision model (on every
  // instruction set its blocks were compiled for), over an opaque and a translucent backdrop.
  const auto tables = model::kernelTables();
  const float quad[8] = {4, 2, 60, 8, 50, 44, 2, 38};
  TransformMatrix half, fifth;
  MatrixOps::Scale(half, 0.5f, 0.5f, 0.0f, 0.0f);
  MatrixOps::Translate(half, 7.0f, 5.0f);
  MatrixOps::Scale(fifth, 0.2f, 0.2f, 0.0f, 0.0f);
  MatrixOps::Translate(fifth, 3.0f, 3.0f);
  struct {
    const char* name;
    TransformMatrix m;
    float table;  // the reference table of the same softness
  } cases[] = {
      {"rotation 17 degrees", rotation(0.296705973f, 20, 15), 1.0f},
      {"rotation 200 degrees", rotation(3.4906585f, 30, 20), 1.0f},
      {"half size (softened cubic)", half, 0.5f},
      {"fifth size (box)", fifth, 0.3f},
      {"perspective", perspective(quad), 1.0f},
  };
  const std::vector<int64_t> targets = hwy::SupportedAndGeneratedTargets();
  for (const auto& c : cases)
    for (int row = 0; row < 2; ++row)
      for (int64_t target : row == 0 ? std::vector<int64_t>{0} : targets)
        for (int dstAlpha : {255, 0}) {
          hwy::SetSupportedTargetsForTest(target);
          Rig rig(1, row == 1);
          Image src(40, 30, 8), dst(64, 48, 4);
          src.fillRandom(7);
          dst.fillRandom(8, dstAlpha);
          Image expect = dst;
          model::place(tables.at(c.table), row == 1, src, expect, c.m.m, 80);
          ASSERT_EQ(rig.run(src, dst, c.m, plain(BLEND_NORMAL, 80)), S_OK);
          EXPECT_EQ(dst.px, expect.px) << c.name << " row " << row << " dst alpha " << dstAlpha
                                       << " " << (target ? hwy::TargetName(target) : "");
        }
  hwy::SetSupportedTargetsForTest(0);
}

TEST(TransformResample, NormalBlockCompositeIsThePixelCompositeOnEveryTarget) {
  // Every pair of source and destination alpha, at several opacities, random colours.
  std::mt19937 rng(17);
  std::vector<uint8_t> src(256 * 256 * 4), dst(src.size());
  for (size_t i = 0; i < src.size(); i += 4) {
    for (int c = 0; c < 3; ++c) src[i + c] = uint8_t(rng()), dst[i + c] = uint8_t(rng());
    src[i + 3] = uint8_t(i >> 10), dst[i + 3] = uint8_t(i >> 2);
  }
  for (int op : {256, 204, 129, 2}) {
    std::vector<uint8_t> expect = dst;
    for (size_t i = 0; i < expect.size(); i += 4)
      BlendMath::CompositePixel<BlendMath::ModeNormal, false, false>(&src[i], &expect[i],
                                                                     &expect[i], op);
    for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
      hwy::SetSupportedTargetsForTest(target);
      const TransformBlockComposite composite = FastNormalBlockComposite();
      std::vector<uint8_t> got = dst;
      for (size_t i = 0; i < got.size(); i += 32) composite(&src[i], &got[i], op);
      EXPECT_EQ(got, expect) << "op " << op << " " << hwy::TargetName(target);
    }
  }
  hwy::SetSupportedTargetsForTest(0);
}

TEST(TransformResample, FarEdgeSnapsOntoTheLastPixel) {
  // Half size: destination column 5 maps to x = 10, the far edge of a 10-wide source, which
  // the snap moves onto column 9; without it the pixel would fail the range test.
  Rig rig(1);
  Image src(10, 10), dst(8, 8);
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 10; ++x) src.at(x, y)[0] = x == 9 ? 200 : 10, src.at(x, y)[3] = 255;
  TransformMatrix m;
  MatrixOps::Scale(m, 0.5f, 0.5f, 0.0f, 0.0f);
  ASSERT_EQ(rig.run(src, dst, m), S_OK);
  for (int y = 0; y <= 4; ++y) {
    EXPECT_EQ(dst.at(5, y)[3], 255) << y;
    EXPECT_EQ(dst.at(5, y)[0], 200) << y;
    EXPECT_EQ(dst.at(6, y)[3], 0) << y;  // outside the mapped image: untouched
  }
}

TEST(TransformStrips, PooledEqualsSingleThreadedAndSmallRectanglesStay) {
  const float quad[8] = {10, 0, 55, 6, 62, 47, 0, 40};
  for (const TransformMatrix& m : {rotation(0.296705973f, 20, 15), perspective(quad)})
    for (bool bFast : {false, true}) {
      Rig single(1, bFast), pooled(4, bFast);
      Image src(40, 30, 8), one(64, 48, 4);
      src.fillRandom(11);
      one.fillRandom(12, 128);
      Image many = one;
      const BlendParam p = plain(BLEND_SCREEN, 90);
      ASSERT_EQ(single.run(src, one, m, p), S_OK);
      ASSERT_EQ(pooled.run(src, many, m, p), S_OK);
      EXPECT_EQ(single.tool.LastStripCount(), 0);
      EXPECT_EQ(pooled.tool.LastStripCount(), 4);
      EXPECT_EQ(one.px, many.px) << "fast " << bFast;
    }
  // The test is on the rectangle's right and bottom coordinates: r = 3 < 4 stays on the
  // calling thread however tall; r = 7 with two columns runs four strips, three of them empty.
  Rig rig(4);
  Image tall(3, 40), tallDst(3, 40), narrow(2, 10), narrowDst(10, 10);
  tall.fillRandom(12, 1);
  narrow.fillRandom(13, 1);
  ASSERT_EQ(rig.run(tall, tallDst, rotation(0.01f, 1, 20)), S_OK);
  EXPECT_EQ(rig.tool.LastStripCount(), 0);
  ASSERT_EQ(rig.run(narrow, narrowDst, translation(5.0f, 0.0f)), S_OK);
  EXPECT_EQ(rig.tool.LastStripCount(), 4);
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 2; ++x)
      EXPECT_EQ(std::memcmp(narrowDst.at(x + 5, y), narrow.at(x, y), 4), 0);
}

TEST(TransformModes, EveryModeCompositesAsTheBlendTool) {
  // Translated by whole pixels, the source lands as it is; resampled, its samples land
  // unchanged on a clear layer in Normal at full opacity. Either way each mode must give the
  // blend tool's portable composite of those pixels, in both rows of the transform.
  const TransformMatrix moved = translation(5.0f, 4.0f), turned = rotation(0.4f, 15, 10);
  for (int mode = 0; mode < BLEND_MODE_COUNT; ++mode)
    for (bool bFast : {false, true})
      for (const TransformMatrix* m : {&moved, &turned}) {
        Rig rig(4, bFast);
        Image src(30, 20), dst(40, 30), layer(40, 30);
        src.fillRandom(100 + mode);
        dst.fillRandom(200 + mode);
        Image expect = dst;
        const BlendParam p = plain(mode, 70);
        ASSERT_EQ(rig.run(src, layer, *m), S_OK);
        ASSERT_EQ(rig.run(src, dst, *m, p), S_OK);

        CBlendTool reference(nullptr);
        reference.SetFastPath(false);
        BufferData placed = layer.buffer(), backdrop = expect.buffer();
        ASSERT_EQ(reference.Process(&placed, &backdrop, &p), S_OK);
        EXPECT_EQ(dst.px, expect.px)
            << "mode " << mode << " fast " << bFast << (m == &moved ? " translated" : " rotated");
      }
}

TEST(TransformOperation, PlainTransformAndItsFailureTrace) {
  COrvel engine;
  IOrvel* api = &engine;
  Image src(20, 20), dst(30, 30);
  src.fillRandom(21, 1);
  BufferData in = src.buffer(), out = dst.buffer();
  TransformParam param;
  param.pBufIn = &in;
  param.TransformMatrix = translation(3.0f, 3.0f);
  ASSERT_EQ(api->Transform(&out, &param), S_OK);
  EXPECT_EQ(std::memcmp(dst.at(3, 3), src.at(0, 0), 4), 0);

  std::vector<std::string> lines;
  SetTraceSinkFn(
      [](const char* line, void* user) {
        static_cast<std::vector<std::string>*>(user)->emplace_back(line);
      },
      &lines);
  SetTraceSwitch(1);
  param.TransformMatrix.m[0] = 0.0f;  // singular
  EXPECT_EQ(api->Transform(&out, &param), E_FAIL);
  EXPECT_EQ(api->Transform(nullptr, &param), E_POINTER);
  SetTraceSwitch(0);
  SetTraceSinkFn(nullptr, nullptr);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0],
            "[Orvel] [Assert] m_TransformTool.Process(pTransformParam->pBufIn, pBufOut, &p, "
            "pTransformParam->TransformMatrix) , Error! hr=80004005\n");
}
