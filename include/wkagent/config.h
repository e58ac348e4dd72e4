#ifndef WKAGENT_CONFIG_H
#define WKAGENT_CONFIG_H

// Configuration files: the base of every reader of an XML settings file, and the readers of the
// agents' settings.
//
// WKConfigFile loads one XML document, hands out its root element, and returns attribute values and
// element contents as texts that it owns. A derived reader walks the tree and fills its own
// objects; WKEdaConfig in filter.h is one. The settings files lie in "../config", seen from the
// agent's working directory, but the base takes any path as given.
//
// WKDaemonSettings reads the general settings, WKMemorySettings the sizes of pools and the delays
// of threads, WKLdapConfig how to reach the directory server, and WKManagerList, with one
// WKShareFolderSetting a server, where audit files are delivered. To all of them an element is told
// by its exact name, at any depth; a later one overrides an earlier one, and a setting without
// element keeps its value. A number is the decimal number at the front of the content, 0 where
// there is none, of which the low 32 bits count; a flag is a number that is not 0. A text that does
// not fit is cut. No reader asks whether a value makes sense: that is for "wkagentd
// --check-config".
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

#include <cstdint>
#include <memory>

#include <wkagent/alert.h>
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

  // Empties `list`, loads the file at `path` and parses it. External entities are not loaded, and a
  // file whose own entities stand for more than ten million bytes of text is refused.
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

// WKDaemonSettings reads "../config/DaemonSettings.xml", the agent's general settings, and owns
// them. One thread at a time may use an object. Intervals are in units of the host's choice.
class WKAGENT_EXPORT WKDaemonSettings : public WKConfigFile {
 public:
  // Poll interval 10, transfer interval 15, archive threshold 500, flags false, texts empty.
  WKDaemonSettings();
  ~WKDaemonSettings() override;

  // Reads the file. Returns 0, or 1 with the settings as they were.
  int Read();

  // Takes the settings from an element, its following siblings and all below them. `From`, `To` and
  // `CC` count only after a `Logging` whose `Enable` (attribute or, where there is none, child
  // element) is not 0. Deliberate: one whose `Enable` is 0 does not switch the alert off.
  void ReadDaemonTags(_xmlNode* node);

  // Each answers for one setting, as last read. The text belongs to the object: it is never null,
  // and valid until the next Read and until the object ends.
  int GetPollInterval();
  int GetTransferInterval();
  int GetArchiveThreshold();
  bool GetAuditDaemonStart();
  bool GetAuditDaemonStop();
  bool GetPersistentMount();
  char* GetWorkspaceGuid();

  // Copies the mail addressing into `target` by WKSMTPAlertObject::Add, and then this object's
  // callback.
  void GetAlertObject(WKSMTPAlertObject& target);

  // Prints the settings to standard output. Deliberate: "Deamon" and the double blank before
  // "Threshold" belong to the printout.
  void Print();

  int pollInterval;         // `PollInterval`
  int transferInterval;     // `TxfrInterval`
  int archiveThreshold;     // `ArmThreshold`: records an audit file
  bool auditDaemonStart;    // `QRAServiceStart`
  bool auditDaemonStop;     // `QRAServiceStop`
  bool loggingEnabled;      // `Enable` of `Logging`
  bool persistentMount;     // `PersistentMount`
  char workspaceGuid[128];  // `WorkspaceGuid`
  WKSMTPAlertObject alert;  // `From`, `To`, `CC`
};

// WKShareFolderSetting holds how to reach the shared folder of one managing server. It owns its
// texts and wipes the passwords when it ends; a pointer to a text is valid until that text is set
// again. One thread at a time may use an object.
class WKAGENT_EXPORT WKShareFolderSetting {
 public:
  // Everything unset.
  WKShareFolderSetting();
  ~WKShareFolderSetting();

  WKShareFolderSetting(const WKShareFolderSetting&) = delete;
  WKShareFolderSetting& operator=(const WKShareFolderSetting&) = delete;

  // Each stores one text; null unsets it.
  void SetMachineName(char* text);
  void SetPrimaryUserPassword(char* text);
  void SetSecondaryUserPassword(char* text);
  void SetSecondaryDomain(char* text);
  void SetShareFolderPath(char* text);

  // Stores the address, cut at 24 bytes.
  void SetMachineIPAddress(char* text);

  // Each stores an account name, cut at 299 bytes. "DOMAIN\name" also sets the domain; without a
  // backslash the domain stays. Null is ignored.
  void SetPrimaryUser(char* text);
  void SetSecondaryUser(char* text);

  // Stores the domain. Deliberate: unlike SetSecondaryDomain it ignores null and an empty text.
  void SetPrimaryDomain(char* text);

  // Marks the primary server.
  void SetPrimaryFlag(bool on);

  // Each answers for one setting; a text is null when it was never set, the address then empty.
  char* GetMachineName();
  char* GetMachineIpAddress();
  char* GetPrimaryUser();
  char* GetPrimaryDomain();
  char* GetPrimaryUserPassword();
  char* GetSecondaryDomain();
  char* GetSecondaryUser();
  char* GetSecondaryUserPassword();
  bool IsPrimaryServer();
  char* GetShareFolderPath();

  // Prints the setting to standard output. Deliberate: with both passwords, without domains and
  // address.
  void Print();

  wkagent::OwnedString machineName;
  wkagent::OwnedString primaryDomain;
  wkagent::OwnedString primaryUser;
  wkagent::OwnedString primaryUserPassword;
  wkagent::OwnedString secondaryDomain;
  wkagent::OwnedString secondaryUser;
  wkagent::OwnedString secondaryUserPassword;
  wkagent::OwnedString shareFolderPath;
  char machineIpAddress[25];
  bool primaryFlag;
};

// WKManagerList reads the managing servers from a shared-settings file and their addresses from
// "../config/ManagerList.xml". It owns the servers; one thread at a time may use an object.
class WKAGENT_EXPORT WKManagerList : public WKConfigFile {
 public:
  WKManagerList();
  ~WKManagerList() override;

  // Reads the file at the given path, then the manager list. Returns 0, or 1 when either cannot be
  // read; what was read before stays. Deliberate: reading the second file empties the list of
  // secondary servers.
  int Read(char* sharedSettingsFile);

  // The steps of Read: take servers from the shared settings; keep the server that was being read;
  // take addresses from the manager list; give an address to a secondary server. Deliberate: the
  // last does nothing unless the last server of the shared settings was a secondary one.
  void ReadSharedSettings(_xmlNode* node);
  void CreateNewNode();
  void ReadManagerList(_xmlNode* node);
  void SetIPAddressforSecondaryMgrs(char* machineName, char* ipAddress);

  // The primary server, with everything unset where there was none. It stays the list's.
  WKShareFolderSetting* GetPrimaryServer();

  // Appends the 8-byte pointers of the secondary servers to `target`; the servers stay the list's.
  // Returns 1, as GetNode does at the end of a list.
  int GetSecondaryServers(CLinkList& target);

  WKShareFolderSetting primaryServer;
  WKShareFolderSetting* pendingEntry;  // null when no secondary server is being read

 private:
  class Entries;
  std::unique_ptr<Entries> entries_;
};

// What WKLdapConfig reads. The caller owns it, and wipes the password when it is no longer needed;
// texts that do not fit are cut.
struct tagLDAPConfig {
  std::int64_t PortNumber;  // `LDAPPortNumber`
  char Server[255];         // `LDAPServer`: name or address
  char UserName[255];       // `LDAPUserName`: who binds
  char Password[128];       // `LDAPPassword`, as it stands in the file
  char TreeName[255];       // `LDAPeDirectoryTreeName`
  bool SecureConnection;    // port 636 was read
};

// WKLdapConfig reads how to reach the directory server. It holds no settings itself; one thread at
// a time may use an object.
class WKAGENT_EXPORT WKLdapConfig : public WKConfigFile {
 public:
  WKLdapConfig();
  ~WKLdapConfig() override;

  using WKConfigFile::ReadFile;

  // Reads the file at `path` into `config`; fields without element stay. Returns 0, or 1 with only
  // `SecureConnection` set, to false.
  int ReadFile(char* path, tagLDAPConfig& config);

  // Takes the settings from an element, its following siblings and all below them. Port 636 sets
  // `SecureConnection`; deliberate: another port later does not reset it.
  void GetLDAPSetting(_xmlNode* node, tagLDAPConfig& config);

  WKLogStatus logStatus;
};

// WKMemorySettings reads "../config/WKMemorySettings.xml": sizes of memory pools, delays of worker
// threads, the protocol version of the share and the deduplication interval, all of which it owns.
// Numbers are stored as read, without bounds. One thread at a time may use an object.
class WKAGENT_EXPORT WKMemorySettings : public WKConfigFile {
 public:
  // Pools of 5000 blocks, delays of 200, "vers=2.0", interval 10.
  WKMemorySettings();
  ~WKMemorySettings() override;

  // Reads the file. Returns 0, or 1 with the settings as they were; the latter is also reported on
  // standard error.
  int Read();

  // Takes the settings from an element, its following siblings and all below them.
  void ReadMemorySettingsTags(_xmlNode* node);

  // Each answers for one setting. Deliberate: the first name lacks its "t", and
  // GetEDIRLDAPThreadDelay answers for "EDIRVigilThreadDelay".
  int GeMaxNSSMemoryBlocks();
  int GetNSSVigilThreadDelay();
  int GetNSSQueueThreadDelay();
  int GetMaxEDIRMemoryBlocks();
  int GetEDIRLDAPThreadDelay();
  int GetEDIRQueueThreadDelay();
  int GetDeduplicationInterval();

  // Copies "vers=VERSION", up to 52 bytes with the terminator, into `target` and returns it.
  char* GetRequiredSMBVersion(char* target);

  // Prints the pool sizes and delays to standard output.
  void Print();

  int maxNSSMemoryBlocks;
  int nssVigilThreadDelay;
  int nssQueueThreadDelay;
  int maxEDIRMemoryBlocks;
  int edirVigilThreadDelay;
  int edirQueueThreadDelay;
  char smbVersion[52];
  int deduplicationInterval;
};

#endif  // WKAGENT_CONFIG_H
