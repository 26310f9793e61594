// Delaunay triangulation by a sweep (switch F).
#include "kly/tess/construction.h"
#include "kly/tess/failure.h"

int32_t SweepDelaunay(TessMesh&, const TessSwitches&) {
  TessFail("The sweep construction (switch F) is not available in this build.");
}
