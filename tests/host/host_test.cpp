// Drives liborvel.so as a host does: public headers, the exported functions, the tables.
#include <gtest/gtest.h>

#include <orvel/orvel.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

using namespace Orvel;

namespace {

struct Engine {
  void* instance = nullptr;
  IOrvel4* api = nullptr;
  Engine() {
    CreateInstance(&instance);
    api = static_cast<IOrvel4*>(QueryInterface("IOrvel4", instance));
  }
  ~Engine() { DeleteInstance(&instance); }
};

}  // namespace

TEST(Host, CreateStoresAndReturnsTheSamePointer) {
  void* instance = nullptr;
  void* returned = CreateInstance(&instance);
  ASSERT_NE(instance, nullptr);
  EXPECT_EQ(returned, instance);
  DeleteInstance(&instance);
  EXPECT_EQ(instance, nullptr);
  DeleteInstance(&instance);  // a second delete of the same variable is harmless
  DeleteInstance(nullptr);
}

TEST(Host, QueryInterfaceByExactName) {
  Engine e;
  ASSERT_NE(e.api, nullptr);
  for (const char* name : {"IOrvel", "IOrvel2", "IOrvel3", "IOrvel4"})
    EXPECT_EQ(QueryInterface(name, e.instance), e.instance) << name;
  void* text = QueryInterface("ITextEditor", e.instance);
  ASSERT_NE(text, nullptr);
  EXPECT_NE(text, e.instance);
  EXPECT_EQ(QueryInterface("ITextEditor2", e.instance), text);
  EXPECT_EQ(QueryInterface("ITextEditor3", e.instance), text);
  for (const char* name : {"iorvel", "IORVEL4", "IOrvel5", "IOrvel4 ", "", "itexteditor", "IUnknown"})
    EXPECT_EQ(QueryInterface(name, e.instance), nullptr) << name;
  EXPECT_EQ(QueryInterface(nullptr, e.instance), nullptr);
  EXPECT_EQ(QueryInterface("IOrvel", nullptr), nullptr);
}

// The reserved slots pin the table order: a shifted entry would answer something else.
TEST(Host, ReservedSlotsThroughEveryInterface) {
  Engine e;
  auto* v1 = static_cast<IOrvel*>(QueryInterface("IOrvel", e.instance));
  auto* v3 = static_cast<IOrvel3*>(QueryInterface("IOrvel3", e.instance));
  EXPECT_EQ(v1->Reserved20(), S_OK);
  EXPECT_EQ(v3->Reserved53(), E_FAIL);
  EXPECT_EQ(v3->Reserved53(1, 2.0, "x"), E_FAIL);
  EXPECT_EQ(e.api->ReleaseScratch(), S_OK);
  EXPECT_EQ(e.api->Reserved20(), S_OK);
}

TEST(Host, PerformanceDataOfAnUnusedCategory) {
  Engine e;
  int32_t count = 42;
  EXPECT_EQ(e.api->FillPerformanceData(PERF_BLEND, &count, nullptr), S_OK);
  EXPECT_EQ(count, 0);
  PerformanceRecord records[2];
  std::memset(records, 0x5A, sizeof(records));
  EXPECT_EQ(e.api->FillPerformanceData(PERF_BLEND, &count, records), S_OK);
  EXPECT_EQ(static_cast<unsigned char>(records[0].szName[0]), 0x5A);  // untouched
  EXPECT_EQ(e.api->FillPerformanceData(PERF_BLEND, nullptr, nullptr), E_POINTER);
  EXPECT_EQ(e.api->SetPerformanceMode(true), S_OK);
  EXPECT_EQ(e.api->SetPerformanceMode(false), S_OK);
}

TEST(Host, NoisePatternRegistration) {
  Engine e;
  NoiseParam noise;
  EXPECT_EQ(e.api->SetNoisePattern(&noise), S_OK);
  EXPECT_EQ(e.api->SetNoisePattern(nullptr), S_OK);
}

// Every operation that takes pointers answers E_POINTER for null ones and writes nothing.
TEST(Host, NullArgumentsAnswerPointerError) {
  Engine e;
  IOrvel4* o = e.api;
  BufferData buf;
  BlendParam blend;
  int32_t n = 0;
  ShadowInfo shadowInfo;
  const std::vector<std::pair<const char*, std::function<HRESULT()>>> calls = {
      {"Selection", [&] { return o->Selection(nullptr, nullptr); }},
      {"BlurMask", [&] { return o->BlurMask(&buf, nullptr); }},
      {"MergeMask", [&] { return o->MergeMask(&buf, nullptr, nullptr); }},
      {"InvertMask", [&] { return o->InvertMask(nullptr); }},
      {"Merge", [&] { return o->Merge(nullptr, &buf, nullptr); }},
      {"Shape", [&] { return o->Shape(&buf, nullptr); }},
      {"HitTest", [&] { return o->HitTest(nullptr, Point{}, nullptr); }},
      {"GetContour", [&] { return o->GetContour(nullptr, nullptr, &n); }},
      {"Fill", [&] { return o->Fill(nullptr, nullptr); }},
      {"Blend", [&] { return o->Blend(&buf, &buf, nullptr); }},
      {"BlendWithSingleColor", [&] { return o->BlendWithSingleColor(&buf, nullptr, Color{}); }},
      {"ApplyMask", [&] { return o->ApplyMask(&buf, &buf, nullptr); }},
      {"GradientReference",
       [&] { return o->GradientReference(2, nullptr, nullptr, nullptr, nullptr, 0, nullptr, nullptr, false); }},
      {"GenerateGradient", [&] { return o->GenerateGradient(&buf, nullptr); }},
      {"SetBrushParam", [&] { return o->SetBrushParam(nullptr); }},
      {"GetBrushDiameter", [&] { return o->GetBrushDiameter(nullptr, 10, 50); }},
      {"SetBrushTarget", [&] { return o->SetBrushTarget(nullptr, nullptr, Point{}); }},
      {"GetStrokePoints", [&] { return o->GetStrokePoints(nullptr, &n); }},
      {"DrawStroke", [&] { return o->DrawStroke(&buf, nullptr); }},
      {"Transform", [&] { return o->Transform(nullptr, nullptr); }},
      {"MatrixTranslate", [&] { return o->MatrixTranslate(nullptr, 1, 2); }},
      {"MatrixRotate", [&] { return o->MatrixRotate(nullptr, 1, 2, 3); }},
      {"MatrixScale", [&] { return o->MatrixScale(nullptr, 1, 2, 3, 4); }},
      {"TransformRect", [&] { return o->TransformRect(nullptr, nullptr); }},
      {"TransformPoint", [&] { return o->TransformPoint(nullptr, nullptr); }},
      {"SetTextString", [&] { return o->SetTextString(nullptr); }},
      {"RenderText", [&] { return o->RenderText(nullptr); }},
      {"ColorMatch", [&] { return o->ColorMatch(&buf, &buf, nullptr); }},
      {"ApplyLayerStyles", [&] { return o->ApplyLayerStyles(nullptr, nullptr); }},
      {"QueryShadowInfo", [&] { return o->QueryShadowInfo(shadowInfo, nullptr); }},
      {"QueryBorderInfo", [&] { return o->QueryBorderInfo(n, nullptr); }},
      {"Border", [&] { return o->Border(&buf, &buf, nullptr); }},
      {"BlendWithStyle", [&] { return o->BlendWithStyle(&buf, nullptr, &buf, &blend); }},
      {"BlendWithFillOpacity", [&] { return o->BlendWithFillOpacity(&buf, &buf, nullptr, 50); }},
      {"Bevel", [&] { return o->Bevel(&buf, nullptr, &buf, nullptr); }},
      {"Shadow", [&] { return o->Shadow(nullptr, &buf, &buf, nullptr); }},
      {"BlendColor", [&] { return o->BlendColor(nullptr, &buf, &blend); }},
      {"Shadow2", [&] { return o->Shadow2(&buf, &buf, &buf, nullptr); }},
      {"GradientOverlay", [&] { return o->GradientOverlay(&buf, &buf, nullptr); }},
      {"OuterGlow", [&] { return o->OuterGlow(&buf, nullptr, nullptr); }},
      {"InnerGlow", [&] { return o->InnerGlow(nullptr, &buf, nullptr); }},
      {"GradientReference2", [&] { return o->GradientReference2(nullptr); }},
      {"QueryShadowInfo2", [&] { return o->QueryShadowInfo2(shadowInfo, nullptr); }},
      {"QueryGlowInfo", [&] { return o->QueryGlowInfo(n, nullptr); }},
      {"AdjustPreLayer", [&] { return o->AdjustPreLayer(&buf, &buf, nullptr, &buf, 100); }},
      {"AdjustLayer", [&] { return o->AdjustLayer(nullptr, &buf, &buf, 100); }},
      {"AdjustBlendBorder", [&] { return o->AdjustBlendBorder(&buf, nullptr); }},
      {"BlendColor2", [&] { return o->BlendColor2(&buf, nullptr, &blend); }},
      {"GenerateNoisePattern", [&] { return o->GenerateNoisePattern(nullptr); }},
  };
  for (const auto& [name, call] : calls) EXPECT_EQ(call(), E_POINTER) << name;
  EXPECT_EQ(n, 0);
}
