// The blend family of operations through the engine: pointer checks, formats, the fill
// opacity, timing records and the trace of a failure.
#include <functional>
#include <string>

#include "blend_test_util.h"
#include "engine/COrvel.h"
#include "engine/trace.h"

using namespace Orvel;
using namespace Orvel::test;

namespace {

struct Layers {
  GuardedImage src{6, 4}, style{6, 4}, out{6, 4};
  Layers() {
    const uint8_t black[4] = {0, 0, 0, 255}, white[4] = {255, 255, 255, 255};
    src.fill(black);
    style.fill(black);
    out.fill(white);
  }
};

}  // namespace

TEST(BlendOps, NullRecordsAndBuffersAnswerEPointerAndTouchNothing) {
  COrvel engine;
  Layers L;
  BlendParam prm;
  BufferData empty;  // no pixels
  using Op = std::function<HRESULT(BufferData*, BufferData*, BufferData*, BlendParam*)>;
  const Op ops[] = {
      [&](BufferData* a, BufferData* b, BufferData*, BlendParam* p) {
        return engine.Blend(a, b, p);
      },
      [&](BufferData* a, BufferData* b, BufferData* c, BlendParam* p) {
        return engine.BlendWithStyle(a, b, c, p);
      },
      [&](BufferData* a, BufferData* b, BufferData*, BlendParam* p) {
        return engine.BlendWithFillOpacity(a, b, p, 50);
      },
      [&](BufferData* a, BufferData* b, BufferData*, BlendParam* p) {
        return engine.BlendColor(a, b, p);
      },
      [&](BufferData* a, BufferData* b, BufferData*, BlendParam* p) {
        return engine.BlendColor2(a, b, p);
      },
  };
  const std::vector<uint8_t> before = L.out.mem;
  for (size_t i = 0; i < std::size(ops); ++i) {
    EXPECT_EQ(ops[i](nullptr, &L.out.buf, &L.out.buf, &prm), E_POINTER) << i;
    EXPECT_EQ(ops[i](&L.src.buf, nullptr, &L.out.buf, &prm), E_POINTER) << i;
    EXPECT_EQ(ops[i](&L.src.buf, &L.out.buf, &L.out.buf, nullptr), E_POINTER) << i;
    EXPECT_EQ(ops[i](&L.src.buf, &empty, &L.out.buf, &prm), E_POINTER) << i;
  }
  EXPECT_EQ(engine.BlendWithStyle(&L.src.buf, &L.style.buf, nullptr, &prm), E_POINTER);
  EXPECT_EQ(engine.BlendWithSingleColor(nullptr, &L.out.buf, Color()), E_POINTER);
  EXPECT_EQ(engine.BlendWithSingleColor(&L.src.buf, &empty, Color()), E_POINTER);
  EXPECT_EQ(L.out.mem, before);
}

TEST(BlendOps, BlendWithSingleColorChecksFormatsThenSizes) {
  COrvel engine;
  std::vector<uint8_t> in(4 * 4 * 2, 200), out(3 * 4 * 2, 7);
  auto make = [](std::vector<uint8_t>& mem, int format, int w, int bytes) {
    BufferData b;
    b.pBuffer = mem.data();
    b.nWidth = w;
    b.nHeight = 2;
    b.nStride = w * bytes;
    b.nFormat = format;
    return b;
  };
  struct Case {
    int inFormat, outFormat, outWidth;
    HRESULT want;
  } cases[] = {{FORMAT_BGRA8, FORMAT_BGR8, 4, S_OK},
               {FORMAT_GRAY8, FORMAT_BGR8, 4, E_NOTIMPL},
               {FORMAT_BGRA8, FORMAT_BGRA8, 4, E_NOTIMPL},
               {FORMAT_BGR8, FORMAT_BGR8, 4, E_NOTIMPL},
               {FORMAT_BGRA8, FORMAT_BGR8, 3, E_INVALIDARG}};
  for (const Case& c : cases) {
    BufferData bi = make(in, c.inFormat, 4, 4), bo = make(out, c.outFormat, c.outWidth, 3);
    EXPECT_EQ(engine.BlendWithSingleColor(&bi, &bo, Color(0, 0, 0, 0)), c.want) << c.inFormat;
  }
  // 200 at alpha 200 over black: 40000 / 255 and 40000 >> 8 are both 156.
  EXPECT_EQ(out[0], 156);
}

// Black at 80% x 50% fill = 40% (op 102) over opaque white: a = 101, w_r = 154, so 154.
TEST(BlendOps, FillOpacityScalesTheOpacity) {
  COrvel engine;
  Layers L;
  BlendParam prm;
  prm.nOpacity = 80;
  ASSERT_EQ(engine.BlendWithFillOpacity(&L.src.buf, &L.out.buf, &prm, 50), S_OK);
  EXPECT_EQ(prm.nOpacity, 80);
  for (int c = 0; c < 3; ++c) EXPECT_EQ(L.out.px(5, 3)[c], 154);
  EXPECT_EQ(L.out.px(5, 3)[3], 255);
  EXPECT_TRUE(L.out.guardsIntact());
}

TEST(BlendOps, TimingRecordsNameTheLastCallOfCategoryOne) {
  COrvel engine;
  Layers L;
  BlendParam prm;
  engine.SetPerformanceMode(true);
  auto names = [&]() {
    int n = 0;
    engine.FillPerformanceData(PERF_BLEND, &n, nullptr);
    std::vector<PerformanceRecord> recs(n);
    if (n) engine.FillPerformanceData(PERF_BLEND, &n, recs.data());
    std::vector<std::string> out;
    for (auto& r : recs) out.push_back(r.szName);
    return out;
  };
  using V = std::vector<std::string>;
  ASSERT_EQ(engine.Blend(&L.src.buf, &L.out.buf, &prm), S_OK);
  ASSERT_EQ(engine.Blend(&L.src.buf, &L.out.buf, &prm), S_OK);
  EXPECT_EQ(names(), V{"Blend"});
  ASSERT_EQ(engine.BlendWithStyle(&L.src.buf, &L.style.buf, &L.out.buf, &prm), S_OK);
  EXPECT_EQ(names(), V{"BlendWithStyle"});
  ASSERT_EQ(engine.BlendColor2(&L.src.buf, &L.out.buf, &prm), S_OK);
  EXPECT_EQ(names(), V{"BlendColor"});
  prm.nBlendMode = 40;  // refused by the tool: the category is left empty
  EXPECT_EQ(engine.BlendColor(&L.src.buf, &L.out.buf, &prm), E_INVALIDARG);
  EXPECT_EQ(names(), V{});
}

TEST(BlendOps, AFailedToolCallTracesTheExpression) {
  COrvel engine;
  Layers L;
  BlendParam prm;
  prm.nBlendMode = 28;
  std::vector<std::string> lines;
  SetTraceSinkFn(
      [](const char* line, void* user) {
        static_cast<std::vector<std::string>*>(user)->emplace_back(line);
      },
      &lines);
  SetTraceSwitch(1);
  const HRESULT hr = engine.Blend(&L.src.buf, &L.out.buf, &prm);
  SetTraceSwitch(0);
  SetTraceSinkFn(nullptr, nullptr);
  EXPECT_EQ(hr, E_INVALIDARG);
  EXPECT_EQ(lines, std::vector<std::string>{"[Orvel] [Assert] m_BlendTool.Process(pBufIn, pBufOut, "
                                            "pBlendParam) , Error! hr=80070057\n"});
}
