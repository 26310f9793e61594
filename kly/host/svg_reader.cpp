#include "kly/host/svg_reader.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

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
  // C streams, for the reason of a failed read (a directory opens, then fails to read).
  const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  if (!file) throw SvgError(std::strerror(errno));
  std::string text;
  char buffer[65536];
  size_t read = 0;
  while ((read = std::fread(buffer, 1, sizeof buffer, file.get())) > 0) text.append(buffer, read);
  if (std::ferror(file.get())) throw SvgError(std::strerror(errno));
  return ReadSvg(text);
}

}  // namespace host
}  // namespace kly
