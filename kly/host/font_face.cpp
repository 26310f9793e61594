#include "kly/host/font_face.h"

#include FT_MULTIPLE_MASTERS_H

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "kly/host/nut.h"

namespace kly {
namespace host {
namespace {

// Report id of the font services' failures: the text engine's range, entry 1.
constexpr uint32_t kFontReportId = 0x470001;
// Flag of an error report, as everywhere in the library.
constexpr uint32_t kErrorReportFlag = 8;

std::string Quoted(const std::string& path) {
  return "\"" + path + "\"";
}

// Why FreeType could not open the file: the system's reason when the file cannot be opened at
// all, else a plain "cannot be read" (a device, say).
std::string UnopenableReason(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return std::strerror(errno);
  std::fclose(file);
  return "it cannot be read";
}

[[noreturn]] void FailOpen(FT_Error status, const std::string& path) {
  const std::string file = "font file " + Quoted(path);
  std::error_code error;
  if (std::filesystem::is_directory(path, error))
    FailFont(status, "Cannot open " + file + ": it is a directory");
  switch (status) {
    case FT_Err_Cannot_Open_Resource:
    case FT_Err_Cannot_Open_Stream:
      FailFont(status, "Cannot open " + file + ": " + UnopenableReason(path));
    case FT_Err_Unknown_File_Format:
      FailFont(status, "The " + file + " is not a font");
    default:
      FailFont(status, "Cannot read the " + file + ": it is damaged or of an unsupported kind");
  }
}

std::string FaceCount(FT_Long count) {
  return std::to_string(count) + (count == 1 ? " face" : " faces");
}

std::string TagText(FT_ULong tag) {
  std::string text(4, ' ');
  for (int i = 0; i < 4; ++i) text[i] = static_cast<char>((tag >> (24 - 8 * i)) & 0xFF);
  return text;
}

double FromFixed(FT_Fixed value) {
  return static_cast<double>(value) / 65536.0;
}

std::vector<HBN_T_NMT::FontAxis> ReadAxes(FontFace& font) {
  std::vector<HBN_T_NMT::FontAxis> axes;
  if (!FT_HAS_MULTIPLE_MASTERS(font.face)) return axes;
  FT_MM_Var* master = nullptr;
  const FT_Error status = FT_Get_MM_Var(font.face, &master);
  if (status != 0) FailFont(status, "Cannot read the axes of font file " + Quoted(font.path));
  for (FT_UInt i = 0; i < master->num_axis; ++i) {
    const FT_Var_Axis& axis = master->axis[i];
    axes.push_back(
        {TagText(axis.tag), FromFixed(axis.minimum), FromFixed(axis.def), FromFixed(axis.maximum)});
  }
  FT_Done_MM_Var(font.library, master);
  return axes;
}

}  // namespace

FontFace::~FontFace() {
  if (face) FT_Done_Face(face);
  if (library) FT_Done_FreeType(library);
}

void FailFont(FT_Error status, const std::string& what) {
  const std::string text = what + " (FreeType error " + std::to_string(status) + ")";
  NUTp_ReportErrString(kFontReportId, kErrorReportFlag, text.c_str());
  throw static_cast<int32_t>(status);
}

std::shared_ptr<FontFace> OpenFontFace(const std::string& path, int32_t face_index) {
  auto font = std::make_shared<FontFace>();
  font->path = path;
  font->face_index = face_index;
  FT_Error status = FT_Init_FreeType(&font->library);
  if (status != 0) FailFont(status, "Cannot start the font engine");
  // Index -1 only counts the faces, so that an index out of range gets its own message (and
  // FreeType reads a negative index or one past 0xFFFF as something else).
  status = FT_New_Face(font->library, path.c_str(), -1, &font->face);
  if (status != 0) FailOpen(status, path);
  const FT_Long count = font->face->num_faces;
  FT_Done_Face(font->face);
  font->face = nullptr;
  if (face_index < 0 || face_index >= count) {
    FailFont(FT_Err_Invalid_Argument, "The font file " + Quoted(path) + " has " + FaceCount(count) +
                                          "; face " + std::to_string(face_index) +
                                          " does not exist");
  }
  status = FT_New_Face(font->library, path.c_str(), face_index, &font->face);
  if (status != 0) FailOpen(status, path);
  font->axes = ReadAxes(*font);
  return font;
}

}  // namespace host
}  // namespace kly
