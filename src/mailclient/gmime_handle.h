// Owners for what GMime and GLib hand out. Included by the .cpp files that read messages only.
#pragma once

#include <memory>
#include <string>

#include <gmime/gmime.h>

namespace quillbox::mailclient {

struct ObjectRelease {
  void operator()(void* object) const {
    if (object != nullptr) g_object_unref(object);
  }
};
template <class T>
using GObjectHandle = std::unique_ptr<T, ObjectRelease>;

struct TextRelease {
  void operator()(char* text) const { g_free(text); }
};
using GText = std::unique_ptr<char, TextRelease>;

inline std::string textOf(const char* text) {
  return text == nullptr ? std::string() : std::string(text);
}

// Options that read bytes which claim no charset as UTF-8 or windows-1252. Prepares the library when first
// called; any thread.
GMimeParserOptions* parserOptions();

}  // namespace quillbox::mailclient
