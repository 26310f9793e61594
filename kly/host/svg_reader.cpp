#include "kly/host/svg_reader.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include <pugixml.hpp>

#include "kly/host/svg_walker.h"

namespace kly {
namespace host {

SvgDrawing ReadSvg(const std::string& text) {
  pugi::xml_document document;
  const pugi::xml_parse_result result = document.load_buffer(text.data(), text.size());
  if (!result) {
    throw SvgError("not an SVG file: " + std::string(result.description()) + " at offset " +
                   std::to_string(result.offset));
  }
  const std::string root = document.document_element().name();
  if (root != "svg") {
    throw SvgError("not an SVG file: the root element is <" + root.substr(0, 40) + ">, not <svg>");
  }
  SvgDrawing drawing;
  SvgWalker(text, document).Read(drawing);
  return drawing;
}

SvgDrawing ReadSvgFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw SvgError("cannot read " + path + ": " + std::strerror(errno));
  std::ostringstream text;
  text << file.rdbuf();
  if (file.bad()) throw SvgError("cannot read " + path);
  return ReadSvg(text.str());
}

}  // namespace host
}  // namespace kly
