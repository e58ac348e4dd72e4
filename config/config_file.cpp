#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <libxml/parser.h>
#include <sys/stat.h>

#include <wkagent/config.h>

#include "config/entity_expansion.h"
#include "config/xml_attribute.h"
#include "config/xml_library.h"
#include "core/bounded_copy.h"
#include "core/handles.h"

// What a reader owns beside its listed members.
class WKConfigFile::State {
 public:
  wkagent::XmlDoc document;                // the one that `document` names
  std::vector<wkagent::XmlDoc> handedOut;  // earlier ones, whose root the caller may still hold
  bool rootTaken = false;                  // GetXMLRootNode was called on `document`
  wkagent::XmlText value;                  // what `lastValue` names
  std::string error;
};

namespace {

// The bytes of a file, `size` of them.
struct Bytes {
  std::unique_ptr<char[]> data;
  std::size_t size = 0;
};

// Reads the whole of a regular file. False, with errno set, where that cannot be done.
[[nodiscard]] bool ReadWhole(const char* path, const struct stat& status, Bytes& bytes) {
  if (!S_ISREG(status.st_mode)) {
    errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    return false;
  }
  if (status.st_size > INT_MAX) {  // the parser counts bytes in an int
    errno = EFBIG;
    return false;
  }
  const wkagent::File file(std::fopen(path, "re"));
  if (file == nullptr) return false;
  const auto size = static_cast<std::size_t>(status.st_size);
  bytes.data.reset(new (std::nothrow) char[size]());
  if (bytes.data == nullptr) {
    errno = ENOMEM;
    return false;
  }
  bytes.size = std::fread(bytes.data.get(), 1, size, file.get());
  return std::ferror(file.get()) == 0;
}

// What the parser could not take first: what follows is often a consequence only.
struct FirstError {
  int line = 0;
  std::string text;
};

void Keep(const xmlError& error, FirstError& first) {
  first.line = std::max(error.line, 1);
  first.text = error.message;
  first.text.erase(std::min(first.text.find('\n'), first.text.size()));  // behind it is a dump
  first.text.erase(first.text.find_last_not_of(' ') + 1);
}

// Called by the parser, which no exception may pass through.
void KeepFirstError(void* context, xmlError* error) noexcept {
  auto& first = *static_cast<FirstError*>(static_cast<xmlParserCtxt*>(context)->_private);
  if (error->level != XML_ERR_FATAL || error->message == nullptr || !first.text.empty()) return;
  try {
    Keep(*error, first);
  } catch (const std::bad_alloc&) {
    // The file is refused all the same.
  }
}

// "path:line: reason", or "path: reason".
std::string DescribeError(const char* path, const FirstError& error) {
  if (error.text.empty()) return std::string(path) + ": not XML";
  if (error.line == 0) return std::string(path) + ": " + error.text;
  return std::string(path) + ":" + std::to_string(error.line) + ": " + error.text;
}

// Null, and `error` says why, where the bytes are no XML.
wkagent::XmlDoc Parse(const Bytes& bytes, FirstError& error) {
  xmlResetLastError();
  constexpr int kOptions = XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
  const wkagent::XmlParser parser = wkagent::NewXmlParser(kOptions);
  if (parser == nullptr) return nullptr;
  // The parser's messages do not belong on the host's standard error; GetReadError has the first.
  parser->sax->serror = KeepFirstError;
  parser->_private = &error;
  wkagent::XmlDoc document(xmlCtxtReadMemory(
      parser.get(), bytes.data.get(), static_cast<int>(bytes.size), "xml", nullptr, kOptions));
  if (wkagent::RanOutOfMemory(*parser)) {
    if (error.text.empty()) error.text = "out of memory";
    return nullptr;
  }
  if (document == nullptr || wkagent::ExpandsWithinBounds(document.get())) return document;
  error.text = "its entities stand for too much text";
  return nullptr;
}

// Removes one star at the front, then one at the back unless a single character is left.
void DropStars(char* value) {
  std::size_t length = std::strlen(value);
  if (length > 0 && value[0] == '*') std::memmove(value, value + 1, length--);
  if (length > 1 && value[length - 1] == '*') value[length - 1] = '\0';
}

}  // namespace

WKConfigFile::WKConfigFile()
    : document(nullptr),
      rootNode(nullptr),
      lastValue(nullptr),
      message{},
      state_(std::make_unique<State>()) {
  wkagent::InitXmlLibrary();
}

WKConfigFile::~WKConfigFile() = default;

int WKConfigFile::ReadFile(char* path) {
  list.ClearList();
  if (state_->rootTaken) state_->handedOut.push_back(std::move(state_->document));
  state_->document.reset();
  state_->rootTaken = false;
  state_->error.clear();
  document = nullptr;
  if (path == nullptr) {
    state_->error = std::string("(null): ") + std::strerror(EFAULT);
    return 1;
  }

  errno = 0;
  struct stat status {};
  if (stat(path, &status) != 0) {
    const int error = errno;
    wkagent::FormatBounded(message, "WKConfigFile.ReadFile:Unable to access file %s - Error %d\n",
                           path, error);
    state_->error = std::string(path) + ": " + std::strerror(error);
    LogStatus(message);
    return 1;
  }
  Bytes bytes;
  if (!ReadWhole(path, status, bytes)) {
    state_->error = std::string(path) + ": " + std::strerror(errno);
    return 1;
  }
  FirstError error;
  state_->document = Parse(bytes, error);
  if (state_->document == nullptr) {
    state_->error = DescribeError(path, error);
    return 1;
  }
  document = state_->document.get();
  return 0;
}

_xmlNode* WKConfigFile::GetXMLRootNode() {
  if (document != nullptr) {
    rootNode = xmlDocGetRootElement(document);
    state_->rootTaken = true;
  }
  return rootNode;
}

char* WKConfigFile::GetTagValue(_xmlNode* element, char* attributeName) {
  const bool named = element != nullptr && attributeName != nullptr;
  state_->value = named ? wkagent::AttributeOf(element, attributeName) : nullptr;
  lastValue = state_->value.get();
  if (lastValue != nullptr) DropStars(lastValue);
  return lastValue;
}

char* WKConfigFile::GetNodeContent(_xmlNode* element) {
  state_->value = element == nullptr ? nullptr : wkagent::ContentOf(element);
  lastValue = state_->value.get();
  return lastValue;
}

const char* WKConfigFile::GetReadError() {
  return state_->error.empty() ? nullptr : state_->error.c_str();
}
