#include "kly/host/nut.h"
#include "kly/tess/failure.h"
#include "kly/tess/triangulate.h"

namespace {

// Every engine allocation carries the tag 0x540000 with its site number in the low bits.
constexpr uint32_t kTessAllocationTag = 0x540000;

template <class T>
void FreeArray(T*& array) {
  TessFree(array);
  array = nullptr;
}

}  // namespace

void* TessAlloc(uint16_t site, uint32_t bytes) {
  void* block = NUT_AllocatePtrClear(bytes, kTessAllocationTag | site, "tesselation engine memory");
  if (block == nullptr) TessFailOutOfMemory();
  gTessLiveBlocks++;
  return block;
}

void TessFreeRecord(TessRecord* record) {
  if (record == nullptr) return;
  FreeArray(record->points);
  FreeArray(record->pointAttributes);
  FreeArray(record->pointMarkers);
  FreeArray(record->corners);
  FreeArray(record->triangleAttributes);
  FreeArray(record->triangleAreas);
  FreeArray(record->neighbors);
  FreeArray(record->segments);
  FreeArray(record->segmentMarkers);
  FreeArray(record->holes);
  FreeArray(record->regions);
  FreeArray(record->edges);
  FreeArray(record->edgeMarkers);
  FreeArray(record->normals);
  // triangleLimit is not a size and stays, so a record can be reused with its limit.
  record->pointCount = 0;
  record->pointAttributeCount = 0;
  record->triangleCount = 0;
  record->cornerCount = 0;
  record->triangleAttributeCount = 0;
  record->segmentCount = 0;
  record->holeCount = 0;
  record->regionCount = 0;
  record->edgeCount = 0;
}
