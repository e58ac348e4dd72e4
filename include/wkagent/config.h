#ifndef WKAGENT_CONFIG_H
#define WKAGENT_CONFIG_H

// Configuration files: the base of every reader of an XML settings file.
//
// WKConfigFile loads one XML document, hands out its root element, and returns attribute values and
// element contents as texts that it owns. A derived reader walks the tree and fills its own
// objects; WKEdaConfig in filter.h is one. The settings files lie in "../config", seen from the
// agent's working directory, but the base takes any path as given.
//
//   WKConfigFile file;
//   if (file.ReadFile(path) != 0) puts(file.GetReadError());
//   _xmlNode* root = file.GetXMLRootNode();
//   const char* version = file.GetTagValue(root, attribute);
//   if (version != nullptr) puts(version);
//
// Threads: distinct readers may work in distinct threads at the same time, also beside the host's
// own use of libxml2, whose global state the library never tears down. Ownership: a reader owns its
// documents and the text it returned last.

#include <memory>

#include <wkagent/core.h>
#include <wkagent/export.h>

struct _xmlDoc;
struct _xmlNode;

// WKConfigFile reads one XML file and answers questions about its elements. It owns the document;
// every element that it handed out stays valid until the object ends, also after a further
// ReadFile. One thread at a time may use an object.
class WKAGENT_EXPORT WKConfigFile : public WKLogStatus {
 public:
  WKConfigFile();
  virtual ~WKConfigFile();

  WKConfigFile(const WKConfigFile&) = delete;
  WKConfigFile& operator=(const WKConfigFile&) = delete;

  // Empties `list`, loads the file at `path` and parses it. External entities are not loaded.
  // Returns 0, or 1 on any failure. A file that cannot be accessed is reported through LogStatus;
  // deliberate: any other failure is not. GetReadError tells the reason of each.
  virtual int ReadFile(char* path);

  // The root element of the document. After a failed ReadFile the root that was returned before,
  // null on a fresh object.
  _xmlNode* GetXMLRootNode();

  // The value of an attribute without one leading "*" and without one trailing "*". Deliberate: the
  // trailing one stays when it is all that the first step left, so "**" gives "*". Null when the
  // element has no such attribute. Valid until the next call of this or of GetNodeContent.
  char* GetTagValue(_xmlNode* element, char* attributeName);

  // All text below the element. Null for a null element. Valid until the next call of this or of
  // GetTagValue.
  char* GetNodeContent(_xmlNode* element);

  // Why the last ReadFile failed, as "path:line: reason" or "path: reason"; null when it succeeded.
  // Valid until the next ReadFile.
  const char* GetReadError();

  _xmlDoc* document;   // null after a failed ReadFile
  _xmlNode* rootNode;  // what GetXMLRootNode returned last
  char* lastValue;     // what GetTagValue or GetNodeContent returned last
  char message[256];   // where status texts are formatted
  CLinkList list;      // for derived readers

 private:
  class State;
  std::unique_ptr<State> state_;
};

#endif  // WKAGENT_CONFIG_H
