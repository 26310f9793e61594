// Block pools, record creation and teardown of the engine's linked structure.
#include <sys/mman.h>

#include <cstring>

#include "kly/tess/failure.h"
#include "kly/tess/mesh_structure.h"
#include "kly/tess/triangulate.h"

const uint32_t plus1mod3[3] = {1, 2, 0};
const uint32_t minus1mod3[3] = {2, 0, 1};

namespace {

constexpr uint16_t kSiteFirstBlock = 0x02;
constexpr uint16_t kSiteNextBlock = 0x03;
constexpr uint16_t kSiteDummyTriangle = 0x04;
constexpr uint16_t kSiteDummySubsegment = 0x05;

// The first item of a block: past the link word, then aligned. An address already aligned
// still advances a whole alignBytes; each block is allocated with room for that.
char* FirstItem(void* block, uint32_t alignBytes) {
  const TessWord p = reinterpret_cast<TessWord>(block) + sizeof(void*);
  return reinterpret_cast<char*>(p + alignBytes - (p % alignBytes));
}

void* NextBlock(void* block) {
  void* next;
  std::memcpy(&next, block, sizeof next);
  return next;
}

// Asks for transparent huge pages over the whole 2 MB pages inside a large block. The big
// pools and arrays are touched at random across tens of megabytes: with 4 KB pages the first
// touches cost a fault each and the later ones miss the TLB. Only a hint; where the kernel
// ignores it nothing changes.
void* AdviseHugePages(void* block, uint64_t bytes) {
#ifdef MADV_HUGEPAGE
  constexpr uintptr_t kHugePage = uintptr_t{2} << 20;
  if (bytes >= 2 * kHugePage) {
    const uintptr_t first = reinterpret_cast<uintptr_t>(block);
    const uintptr_t start = (first + kHugePage - 1) & ~(kHugePage - 1);
    const uintptr_t end = (first + bytes) & ~(kHugePage - 1);
    madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
  }
#endif
  return block;
}

void* AllocateBlock(uint16_t site, uint32_t items, uint32_t itemBytes, uint32_t alignBytes) {
  const uint64_t bytes = static_cast<uint64_t>(items) * itemBytes + sizeof(void*) + alignBytes;
  if (bytes > 0xFFFFFFFFu) TessFailOutOfMemory();
  return AdviseHugePages(TessAlloc(site, static_cast<uint32_t>(bytes)), bytes);
}

}  // namespace

void* TessAllocArray(uint16_t site, uint32_t count, size_t size) {
  const uint64_t bytes = static_cast<uint64_t>(count) * size;
  if (bytes > 0xFFFFFFFFu) TessFailOutOfMemory();
  return AdviseHugePages(TessAlloc(site, static_cast<uint32_t>(bytes)), bytes);
}

void PoolZero(TessPool& pool) {
  std::memset(&pool, 0, sizeof pool);
}

void PoolInit(TessPool& pool, uint32_t bytes, uint32_t perBlock, uint32_t firstBlockCount,
              uint32_t alignment) {
  pool.alignBytes = alignment < 9 ? 8 : alignment;
  pool.itemBytes = ((bytes - 1) / pool.alignBytes + 1) * pool.alignBytes;
  pool.itemsPerBlock = perBlock;
  pool.itemsFirstBlock = firstBlockCount == 0 ? perBlock : firstBlockCount;
  pool.firstBlock =
      AllocateBlock(kSiteFirstBlock, pool.itemsFirstBlock, pool.itemBytes, pool.alignBytes);
  PoolRestart(pool);
}

void PoolRestart(TessPool& pool) {
  pool.items = 0;
  pool.maxItems = 0;
  pool.nowBlock = pool.firstBlock;
  pool.nextItem = FirstItem(pool.firstBlock, pool.alignBytes);
  pool.unallocatedItems = pool.itemsFirstBlock;
  pool.deadItemStack = nullptr;
}

void* PoolAlloc(TessPool& pool) {
  void* item;
  if (pool.deadItemStack != nullptr) {
    item = pool.deadItemStack;
    pool.deadItemStack = NextBlock(item);
  } else {
    if (pool.unallocatedItems == 0) {
      void* next = NextBlock(pool.nowBlock);
      if (next == nullptr) {
        next = AllocateBlock(kSiteNextBlock, pool.itemsPerBlock, pool.itemBytes, pool.alignBytes);
        std::memcpy(pool.nowBlock, &next, sizeof next);
      }
      pool.nowBlock = next;
      pool.nextItem = FirstItem(next, pool.alignBytes);
      pool.unallocatedItems = pool.itemsPerBlock;
    }
    item = pool.nextItem;
    pool.nextItem += pool.itemBytes;
    pool.unallocatedItems--;
    pool.maxItems++;
  }
  pool.items++;
  return item;
}

void PoolDealloc(TessPool& pool, void* item) {
  std::memcpy(item, &pool.deadItemStack, sizeof(void*));
  pool.deadItemStack = item;
  pool.items--;
}

void TraversalInit(TessPool& pool) {
  pool.pathBlock = pool.firstBlock;
  pool.pathItem = FirstItem(pool.firstBlock, pool.alignBytes);
  pool.pathItemsLeft = pool.itemsFirstBlock;
}

void* Traverse(TessPool& pool) {
  if (pool.pathItem == pool.nextItem) return nullptr;
  if (pool.pathItemsLeft == 0) {
    pool.pathBlock = NextBlock(pool.pathBlock);
    pool.pathItem = FirstItem(pool.pathBlock, pool.alignBytes);
    pool.pathItemsLeft = pool.itemsPerBlock;
  }
  void* item = pool.pathItem;
  pool.pathItem += pool.itemBytes;
  pool.pathItemsLeft--;
  return item;
}

void PoolFree(TessPool& pool) {
  void* block = pool.firstBlock;
  while (block != nullptr) {
    void* next = NextBlock(block);
    TessFree(block);
    block = next;
  }
  pool.firstBlock = nullptr;
}

TessWord* TriangleTraverse(TessMesh& m) {
  TessWord* tri;
  do {
    tri = static_cast<TessWord*>(Traverse(m.triangles));
    if (tri == nullptr) return nullptr;
  } while (IsDeadTriangle(tri));
  return tri;
}

TessWord* SubsegmentTraverse(TessMesh& m) {
  TessWord* ss;
  do {
    ss = static_cast<TessWord*>(Traverse(m.subsegments));
    if (ss == nullptr) return nullptr;
  } while (IsDeadSubsegment(ss));
  return ss;
}

TessVertex VertexTraverse(TessMesh& m) {
  TessVertex v;
  do {
    v = static_cast<TessVertex>(Traverse(m.vertices));
    if (v == nullptr) return nullptr;
  } while (VertexType(m, v) == kDeadVertex);
  return v;
}

TessVertex GetVertex(TessMesh& m, const TessSwitches& b, int32_t number) {
  uint32_t index = static_cast<uint32_t>(number - b.firstIndex);
  void* block = m.vertices.firstBlock;
  uint32_t inBlock = m.vertices.itemsFirstBlock;
  while (index >= inBlock) {
    index -= inBlock;
    block = NextBlock(block);
    inBlock = m.vertices.itemsPerBlock;
  }
  return reinterpret_cast<TessVertex>(FirstItem(block, m.vertices.alignBytes) +
                                      static_cast<size_t>(index) * m.vertices.itemBytes);
}

int32_t InputVertexIndex(const TessMesh& m, TessVertex v) {
  const char* first = FirstItem(m.vertices.firstBlock, m.vertices.alignBytes);
  return static_cast<int32_t>((reinterpret_cast<const char*>(v) - first) / m.vertices.itemBytes);
}

void InitTriangleSubsegmentPools(TessMesh& m, const TessSwitches& b) {
  m.highorderIndex = 6 + (b.useSegments ? 3 : 0);
  uint32_t triBytes = static_cast<uint32_t>(
      ((b.elementOrder + 1) * (b.elementOrder + 2) / 2 + (m.highorderIndex - 3)) * 8);
  m.elemAttribIndex = static_cast<int32_t>((triBytes + 7) / 8);
  m.areaBoundIndex = m.elemAttribIndex + m.triangleAttributeCount + (b.regionAttributes ? 1 : 0);
  if (b.areaPerTriangle) {
    triBytes = static_cast<uint32_t>((m.areaBoundIndex + 1) * 8);
  } else if (m.triangleAttributeCount + b.regionAttributes > 0) {
    triBytes = static_cast<uint32_t>(m.areaBoundIndex * 8);
  }
  if (b.writeDual || b.writeNeighbors || b.writeEdges) {
    // The output number takes the 32-bit word after word 5 when nothing else lives there
    // (52 bytes); otherwise one more word at the end of the record. The edge writer reads it
    // too: it picks the triangle that writes a shared edge by number, not by address, so that
    // the output doesn't depend on where the allocator put the blocks.
    if (triBytes <= 48) {
      m.triangleNumberIndex = 12;
      triBytes = 52;
    } else {
      m.triangleNumberIndex = static_cast<int32_t>(triBytes / 4);
      triBytes += 8;
    }
  }
  const uint32_t firstBlock = m.inVertices * 2 - 2 > static_cast<int32_t>(kTrianglesPerBlock)
                                  ? static_cast<uint32_t>(m.inVertices * 2 - 2)
                                  : kTrianglesPerBlock;
  PoolInit(m.triangles, triBytes, kTrianglesPerBlock, firstBlock, 8);
  if (b.useSegments) {
    PoolInit(m.subsegments, kSubsegmentBytes, kSubsegmentsPerBlock, kSubsegmentsPerBlock, 8);
  }

  const uint32_t align = m.triangles.alignBytes;
  m.dummyTriangleBase = TessAlloc(kSiteDummyTriangle, m.triangles.itemBytes + align);
  TessWord base = reinterpret_cast<TessWord>(m.dummyTriangleBase);
  m.dummyTriangle = reinterpret_cast<TessWord*>(base + align - base % align);
  const TessWord self = reinterpret_cast<TessWord>(m.dummyTriangle);
  m.dummyTriangle[0] = m.dummyTriangle[1] = m.dummyTriangle[2] = self;
  m.dummyTriangle[3] = m.dummyTriangle[4] = m.dummyTriangle[5] = 0;

  if (b.useSegments) {
    m.dummySubsegmentBase = TessAlloc(kSiteDummySubsegment, m.subsegments.itemBytes + align);
    base = reinterpret_cast<TessWord>(m.dummySubsegmentBase);
    m.dummySubsegment = reinterpret_cast<TessWord*>(base + align - base % align);
    const TessWord sub = reinterpret_cast<TessWord>(m.dummySubsegment);
    m.dummySubsegment[0] = m.dummySubsegment[1] = sub;
    m.dummySubsegment[2] = m.dummySubsegment[3] = m.dummySubsegment[4] = m.dummySubsegment[5] = 0;
    m.dummySubsegment[6] = m.dummySubsegment[7] = self;
    m.dummyTriangle[6] = m.dummyTriangle[7] = m.dummyTriangle[8] = sub;
  }
}

TriHandle MakeTriangle(TessMesh& m, const TessSwitches& b) {
  TessCheckTriangleLimit(m.triangleLimit, m.triangles.items);
  TessWord* tri = static_cast<TessWord*>(PoolAlloc(m.triangles));
  const TessWord dummy = reinterpret_cast<TessWord>(m.dummyTriangle);
  tri[0] = tri[1] = tri[2] = dummy;
  tri[3] = tri[4] = tri[5] = 0;
  if (b.useSegments) {
    const TessWord sub = reinterpret_cast<TessWord>(m.dummySubsegment);
    tri[6] = tri[7] = tri[8] = sub;
  }
  if (b.elementOrder > 1) {
    const int corners = (b.elementOrder + 1) * (b.elementOrder + 2) / 2 - 3;
    for (int i = 0; i < corners; i++) tri[m.highorderIndex + i] = 0;
  }
  double* words = reinterpret_cast<double*>(tri);
  const int attributes = m.triangleAttributeCount + (b.regionAttributes ? 1 : 0);
  for (int i = 0; i < attributes; i++) words[m.elemAttribIndex + i] = 0.0;
  if (b.areaPerTriangle) words[m.areaBoundIndex] = -1.0;
  return {tri, 0};
}

SubHandle MakeSubsegment(TessMesh& m) {
  TessWord* ss = static_cast<TessWord*>(PoolAlloc(m.subsegments));
  const TessWord sub = reinterpret_cast<TessWord>(m.dummySubsegment);
  const TessWord dummy = reinterpret_cast<TessWord>(m.dummyTriangle);
  ss[0] = ss[1] = sub;
  ss[2] = ss[3] = ss[4] = ss[5] = 0;
  ss[6] = ss[7] = dummy;
  ss[8] = 0;
  return {ss, 0};
}

void KillTriangle(TessMesh& m, TessWord* tri) {
  tri[1] = 0;
  tri[3] = 0;
  PoolDealloc(m.triangles, tri);
}

void KillSubsegment(TessMesh& m, TessWord* ss) {
  ss[1] = 0;
  ss[2] = 0;
  PoolDealloc(m.subsegments, ss);
}

void KillVertex(TessMesh& m, TessVertex v) {
  VertexType(m, v) = kDeadVertex;
  PoolDealloc(m.vertices, v);
}

TessVertex MakeVertex(TessMesh& m) {
  TessVertex v = static_cast<TessVertex>(PoolAlloc(m.vertices));
  VertexMark(m, v) = 0;
  VertexType(m, v) = kInputVertex;
  return v;
}

void MeshZero(TessMesh& m) {
  PoolZero(m.triangles);
  PoolZero(m.subsegments);
  PoolZero(m.vertices);
  PoolZero(m.viri);
  PoolZero(m.badSubsegments);
  PoolZero(m.badTriangles);
  PoolZero(m.flipStackers);
  PoolZero(m.splayNodes);
  m.dummyTriangle = nullptr;
  m.dummyTriangleBase = nullptr;
  m.dummySubsegment = nullptr;
  m.dummySubsegmentBase = nullptr;
  m.boundingVertex1 = m.boundingVertex2 = m.boundingVertex3 = nullptr;
}

void MeshTearDown(TessMesh& m) {
  // Every pool is freed whatever the switches: a pool never set up is zeroed and frees
  // nothing, and a stage that failed half-way may have left one behind.
  PoolFree(m.triangles);
  PoolFree(m.subsegments);
  PoolFree(m.vertices);
  PoolFree(m.viri);
  PoolFree(m.badSubsegments);
  PoolFree(m.badTriangles);
  PoolFree(m.flipStackers);
  PoolFree(m.splayNodes);
  TessFree(m.dummyTriangleBase);
  m.dummyTriangleBase = nullptr;
  m.dummyTriangle = nullptr;
  TessFree(m.dummySubsegmentBase);
  m.dummySubsegmentBase = nullptr;
  m.dummySubsegment = nullptr;
  TessFree(m.boundingVertex1);
  TessFree(m.boundingVertex2);
  TessFree(m.boundingVertex3);
  m.boundingVertex1 = m.boundingVertex2 = m.boundingVertex3 = nullptr;
}
