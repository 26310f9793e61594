#include "kly/host/svg_reader.h"

#include <fstream>
#include <sstream>

#include <pugixml.hpp>

namespace kly {
namespace host {

SvgDrawing ReadSvg(const std::string& text) {
  pugi::xml_document document;
  const pugi::xml_parse_result result = document.load_buffer(text.data(), text.size());
  if (!result) {
    throw SvgError("not an SVG file: " + std::string(result.description()) + " at offset " +
                   std::to_string(result.offset));
  }
  if (std::string(document.document_element().name()) != "svg") {
    throw SvgError("not an SVG file: the root element is not <svg>");
  }
  return SvgDrawing();
}

SvgDrawing ReadSvgFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  if (!file || !(text << file.rdbuf())) throw SvgError("cannot read " + path);
  return ReadSvg(text.str());
}

}  // namespace host
}  // namespace kly
