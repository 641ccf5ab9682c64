#include <gtest/gtest.h>

#include <cstring>

#include "engine/scratch.h"

using namespace Orvel;

TEST(Scratch, FirstAcquireAllocatesOneExtraByteAndZeroes) {
  ScratchBlock block;
  uint8_t* p = nullptr;
  ASSERT_EQ(AcquireScratch(block, 100, &p), S_OK);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(block.pAllocation, block.pData);
  EXPECT_EQ(block.nRequested, 101u);
  EXPECT_EQ(block.nCapacity, 101u);
  EXPECT_EQ(block.nUsed, 100u);
  for (int i = 0; i < 100; ++i) ASSERT_EQ(p[i], 0);
  ReleaseScratchBlock(block);
}

TEST(Scratch, SmallerRequestKeepsCapacityAndZeroesOnlyUsedLength) {
  ScratchBlock block;
  uint8_t* p = nullptr;
  ASSERT_EQ(AcquireScratch(block, 64, &p), S_OK);
  std::memset(p, 0xAB, 65);  // the whole capacity, the spare byte included
  uint8_t* q = nullptr;
  ASSERT_EQ(AcquireScratch(block, 16, &q), S_OK);
  EXPECT_EQ(q, p);  // reused, not reallocated
  EXPECT_EQ(block.nCapacity, 65u);
  EXPECT_EQ(block.nUsed, 16u);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(q[i], 0) << i;
  for (int i = 16; i < 65; ++i) EXPECT_EQ(q[i], 0xAB) << i;
  // Exactly the capacity still fits; one more byte than the capacity grows the block.
  ASSERT_EQ(AcquireScratch(block, 65, &q), S_OK);
  EXPECT_EQ(block.nCapacity, 65u);
  ASSERT_EQ(AcquireScratch(block, 66, &q), S_OK);
  EXPECT_EQ(block.nCapacity, 67u);
  ReleaseScratchBlock(block);
  EXPECT_EQ(block.pData, nullptr);
  EXPECT_EQ(block.nCapacity, 0u);
  EXPECT_EQ(block.nUsed, 0u);
}

TEST(Scratch, BufObjCopiesRecordAndBytes) {
  uint8_t pixels[2 * 12];
  for (int i = 0; i < 24; ++i) pixels[i] = uint8_t(i + 1);
  BufferData src;
  src.pBuffer = pixels;
  src.nWidth = 2;
  src.nHeight = 2;
  src.nStride = 12;  // padded rows are copied too
  src.ROI = IntRect{1, 0, 2, 2};
  ScratchBlock block;
  BufferData obj;
  ASSERT_EQ(MakeBufObjCopy(block, src, obj), S_OK);
  EXPECT_NE(obj.pBuffer, src.pBuffer);
  EXPECT_EQ(obj.nStride, 12);
  EXPECT_EQ(obj.ROI.l, 1);
  EXPECT_EQ(std::memcmp(obj.pBuffer, pixels, 24), 0);
  EXPECT_EQ(block.nUsed, 24u);
  ReleaseScratchBlock(block);
}
