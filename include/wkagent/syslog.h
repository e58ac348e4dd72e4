#ifndef WKAGENT_SYSLOG_H
#define WKAGENT_SYSLOG_H

// Remote syslog: audit lines to one collector, over UDP, TCP or TLS.
//
// WKSyslogSender reads where to send from "/opt/mossgrove/config/syslog_config.xml". Over UDP a
// line leaves at once, as one datagram. Over TCP and TLS it is queued; a thread of the sender takes
// up to 100 lines at a time and gives them to a pooled connection with one write, each followed by
// a line feed (the non-transparent framing of RFC 6587). Lines are sent as they are: the host makes
// the syslog header (RFC 5424). Lines that could not be written go to the WKSyslogRetryHandler,
// which stores them in files and sends them again every 300 seconds.
//
//   WKSyslogSender sender;
//   sender.SetSafeDelivery(true);
//   puts(sender.get_syslog_config().c_str());
//   if (!sender.send(line)) puts("not taken");
//   sender.WaitUntilEmpty(std::chrono::seconds(5));
//   printf("%ld\n", static_cast<long>(sender.GetCounters().sent));
//
// Threads: any thread may call send, the counters and the waits; the other methods of both classes
// lock what they share, so they may be called too, but are made for the sender's own two threads.
// Ownership: a sender owns its connections, its TLS context, its queue, its threads and its retry
// handler. SIGPIPE never reaches the host: it is blocked around each write.
//
// Diagnostics go to standard error and to "/opt/mossgrove/log/syslog_sender.log" and
// "syslog_retry.log" beside it, which are opened for appending when the library is loaded. A folder
// that is missing is not made.
//
// TCP does not tell what the collector has read. Lines that the system took before a connection
// broke, up to the two socket buffers, may be lost unnoticed; the stored lines of a file that
// failed in part are sent again, so some may arrive twice.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <fstream>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <wkagent/export.h>
#include <wkagent/mutex.h>

struct ssl_st;
struct ssl_ctx_st;

// The settings of a sender, as its file names them. Plain data; it is written while the sender is
// constructed and only read afterwards.
struct SyslogConfig {
  enum SyslogProtocol : std::int32_t { UDP = 0, TCP = 1, TLS = 2 };

  std::string serverHost = "127.0.0.1";  // an IPv4 address; names are never looked up
  std::int32_t serverPort = 514;         // deliberate: of a larger number the low 16 bits count
  SyslogProtocol protocol = UDP;
  std::string tlsCACertPath;  // PEM; empty for the system's trusted certificates
  std::string tlsClientCertPath;
  std::string tlsClientKeyPath;
  std::string tlsServerName;  // sent as SNI (RFC 6066) and required of the certificate
  bool mutualTLS = false;
  bool verifyServerCert = true;
};

using SyslogProtocol = SyslogConfig::SyslogProtocol;

// WKSyslogRetryHandler stores lines that could not be delivered and delivers them later. A thread
// of its own sends what is stored every 300 seconds. It owns the thread and the open batch file;
// any thread may call, unless a method says otherwise. A save waits while a pass is under way.
//
// Batch files are "nsa_batch_<local time>_<process>_<counter>.log" in RETRY_DIRECTORY: plain text,
// one line a line, mode 0600. Delivery is at least once.
class WKAGENT_EXPORT WKSyslogRetryHandler {
 public:
  static constexpr const char* RETRY_DIRECTORY = "/opt/mossgrove/auditdata/nsa";
  static constexpr int MAX_LINES_PER_BATCH_FILE = 5000;
  static constexpr int RETRY_INTERVAL = 300;  // seconds

  // Starts the thread. Its first pass is RETRY_INTERVAL after that.
  WKSyslogRetryHandler();

  // Calls shutdown.
  ~WKSyslogRetryHandler();

  WKSyslogRetryHandler(const WKSyslogRetryHandler&) = delete;
  WKSyslogRetryHandler& operator=(const WKSyslogRetryHandler&) = delete;

  // For the constructor. Does nothing while the thread is joinable.
  void startRetryThread();

  // Replaces the function that sends one line. It runs on the thread of the pass with `fileMutex`
  // held; true means delivered, false ends the pass. It may call saveToBatchFile. Of an exception
  // that leaves it on the retry thread, a std::exception is reported and ends the pass.
  void setSenderCallback(std::function<bool(const std::string&)> callback);

  // Appends one line, and makes RETRY_DIRECTORY where it is missing, but not its parents. Returns
  // false, with the reason reported, when the line is not in a file: none could be opened, or the
  // disk is full.
  bool saveToBatchFile(const std::string& line);

  // Appends the lines in their order, with as few writes as may be, until one cannot be saved.
  // Returns the number of those before it, which are in files now. As if saveToBatchFile were
  // called for each of them.
  std::size_t SaveLines(std::span<const std::string> lines);

  // One pass: sends the lines of all batch files through the callback, in the byte-wise order of
  // the names, and removes each file that was delivered whole. Deliberate: without a callback every
  // line counts as delivered; a file with a refused line is kept whole and ends the pass; the file
  // that this handler opened last is left out. A file that another handler is writing or sending is
  // left to it.
  void retryPendingFiles();

  // Ends the thread, without waiting for the interval, and closes the batch file. May be called
  // again.
  void shutdown();

  // Off unless called with true: then a pass also takes the file that this handler opened last,
  // which otherwise waits until it is full or the process ends; a pass that a save waits for ends
  // after the file that it is sending, or after five seconds amid it, so that a slow collector does
  // not hold up the host; and links, files with a second name and what is no file are passed over,
  // in sending as in storing.
  void SetRetryCurrentFile(bool on);

  // True on the thread that is running a pass of this handler.
  [[nodiscard]] bool IsInPass() const;

  // Tells the thread to end after the line that it is sending, and does not wait for it.
  void RequestStop();

  // Waits until the thread has ended. Returns false when the time has passed before.
  bool WaitForThread(std::chrono::milliseconds timeout);

  // The number of lines that passes have delivered. Any thread, without locking.
  [[nodiscard]] std::uint64_t RetriedCount() const;

  std::ofstream batchFile WKAGENT_GUARDED_BY(fileMutex);
  std::string currentBatchPath WKAGENT_GUARDED_BY(fileMutex);  // kept when the file is closed
  std::int32_t linesInBatch WKAGENT_GUARDED_BY(fileMutex) = 0;
  std::int32_t batchCounter WKAGENT_GUARDED_BY(fileMutex) = 0;  // of attempts to open a file
  wkagent::Mutex fileMutex;                                     // the four above, and a whole pass
  std::thread retryThread;
  wkagent::Mutex retryMutex;  // held by the thread except while it waits
  std::condition_variable retryCondition;
  std::atomic<bool> stopRequested = false;
  std::function<bool(const std::string&)> senderCallback WKAGENT_GUARDED_BY(stateMutex_);

 private:
  void RetryLoop();
  void RunPass(bool untilStopped);
  void SendPendingFiles(bool untilStopped) WKAGENT_REQUIRES(fileMutex);
  bool SendFile(const std::string& path, bool untilStopped);
  bool SendLine(const std::string& line);
  std::size_t Append(std::span<const std::string> lines) WKAGENT_REQUIRES(fileMutex);
  bool PrepareBatchFile() WKAGENT_REQUIRES(fileMutex);
  std::size_t WriteLines(std::span<const std::string> lines) WKAGENT_REQUIRES(fileMutex);
  bool OpenBatchFile() WKAGENT_REQUIRES(fileMutex);
  void CloseBatchFile() WKAGENT_REQUIRES(fileMutex);
  void TakeBackTornLine() WKAGENT_REQUIRES(fileMutex);

  mutable wkagent::Mutex stateMutex_;  // not held while the callback runs
  std::condition_variable threadEnded_;
  bool threadRuns_ WKAGENT_GUARDED_BY(stateMutex_) = false;
  int batchFd_ WKAGENT_GUARDED_BY(fileMutex) = -1;  // of batchFile, which owns it
  std::int64_t batchSize_ WKAGENT_GUARDED_BY(fileMutex) = 0;
  std::uint64_t batchDevice_ WKAGENT_GUARDED_BY(fileMutex) = 0;
  std::uint64_t batchInode_ WKAGENT_GUARDED_BY(fileMutex) = 0;
  std::atomic<std::thread::id> passThread_;
  std::atomic<bool> retryCurrentFile_ = false;
  std::atomic<int> waitingSaves_ = 0;
  std::atomic<std::uint64_t> retried_ = 0;
};

// WKSyslogSender forwards lines to one collector. See the top of this file for threads and
// ownership. Construct it once and keep it: the settings are read by the constructor only.
class WKAGENT_EXPORT WKSyslogSender : public SyslogConfig {
 public:
  // One connection. The pool owns it; see getConnection.
  struct Connection {
    std::int32_t socketFd = -1;  // -1 when there is none
    ssl_st* ssl = nullptr;       // for TLS only
    std::chrono::steady_clock::time_point lastUsed = {};

    // The pool's own.
    int users = 0;           // callers that have not released it
    bool listed = false;     // stands in connectionPool
    bool destroyed = false;  // is closed, or is when its last user releases it
    wkagent::Mutex writing = {};
  };

  // What has become of the lines so far. A line that waits, or is being written, is in `queued`
  // only.
  struct Counters {
    std::uint64_t queued = 0;   // taken by send, over TCP and TLS
    std::uint64_t sent = 0;     // taken by the system, not counting `retried`
    std::uint64_t stored = 0;   // put into a batch file
    std::uint64_t retried = 0;  // delivered from batch files, those of earlier runs too
    std::uint64_t dropped = 0;  // refused by send, or neither sent nor stored
    std::uint64_t connectionsOpened = 0;
  };

  static constexpr int CONN_TIMEOUT = 300;  // seconds
  static constexpr std::size_t MAX_POOL_SIZE = 10;
  static constexpr std::size_t BATCH_SIZE = 100;  // lines
  static constexpr int QUEUE_WAIT = 100;          // milliseconds

  // Reads the settings, makes the TLS context where it is needed, and starts the threads. A file
  // that cannot be read leaves the defaults, and a context that is incomplete fails at connecting;
  // both are reported. Throws std::invalid_argument or std::out_of_range, with the text "stoi",
  // where the port is no number or too large, and std::system_error where no thread can be started.
  WKSyslogSender();

  // Stops the threads: within about a second, as writes, connects and handshakes that last longer
  // are broken off and their lines stored. Deliberate: of the queued lines at most one more batch
  // is sent or stored and the others are dropped, unless SetSafeDelivery is on.
  ~WKSyslogSender();

  WKSyslogSender(const WKSyslogSender&) = delete;
  WKSyslogSender& operator=(const WKSyslogSender&) = delete;

  // Over UDP sends the line and returns whether the system took it. Otherwise queues it and returns
  // true; the queue has no limit, unless SetSafeDelivery is on. Deliberate: a line feed in the line
  // makes two records of it.
  bool send(const std::string& message);

  // The settings in one line, for people.
  std::string get_syslog_config();

  // Takes over what the file names. Returns false when it cannot be read or is not XML. Throws as
  // the constructor does. For the constructor.
  bool loadXMLConfig(const std::string& path);

  // Makes `sslContext`. Returns false, with the reason reported, when it is not complete. For the
  // constructor.
  bool initializeTLSContext();

  // The first pooled connection that is open and whose peer has not closed it, or a new one; null,
  // with the reason reported, when there is none. The pool keeps owning it: hand it back with
  // releaseConnection, until when it is not destroyed. Several callers may hold the same one.
  Connection* getConnection();

  // Hands a connection back and marks it as just used. One that is gone already is ignored.
  void releaseConnection(Connection* connection);

  // Closes a connection and, unless the pool still lists it or somebody holds it, deletes it. Takes
  // no lock: call it with `poolMutex` held for a connection that is in the pool.
  void cleanupConnection(Connection* connection);

  // Destroys the connections that have been idle for more than CONN_TIMEOUT.
  void cleanupStaleConnections();

  // Sends one datagram (RFC 5426) of exactly this text. False, with the reason reported, when the
  // system did not take it.
  bool sendUDP(const std::string& message);

  // Both write one line over a pooled connection; which transport that is follows `protocol`.
  // Return false when there is no connection. Deliberate: true also when the write failed, as the
  // line is stored then; but on a retry pass, whose file still has the line, it is not stored again
  // and the result is false.
  bool sendTCP(const std::string& message);
  bool sendTLS(const std::string& message);

  // Writes the lines, each followed by a line feed, with one call. Where that fails the lines are
  // stored and the connection is destroyed. Deliberate: a write that the system took in part counts
  // as done, unless SetSafeDelivery is on.
  void sendBatch(Connection* connection, const std::vector<std::string>& batch);

  // The worker's body; it returns when `running` is false.
  void workerThread();

  // Off unless called with true, which is best done before the first line. When on, a line is lost
  // only where the library cannot know it: a write taken in part is continued; a connect, handshake
  // or write that gets nowhere fails, after 30 to 90 seconds; a collector that asks for a
  // certificate over TLS 1.3 has a second to refuse it before lines are sent; when 100,000 lines
  // are queued, further ones are stored at once, and send returns false for one that cannot be;
  // lines that can be neither sent nor stored stay queued, and are tried again every second; queued
  // lines are stored when the sender is destroyed; and a retry pass takes the latest file too.
  void SetSafeDelivery(bool on);

  // Waits until no line is queued or being written, which is true at once over UDP. Returns false
  // when the time has passed before.
  bool WaitUntilEmpty(std::chrono::milliseconds timeout);

  // Any thread, without locking; counted since the construction.
  [[nodiscard]] Counters GetCounters() const;

  // When a line was last taken by the system; the epoch where none was. Any thread, without
  // locking.
  [[nodiscard]] std::chrono::system_clock::time_point LastSuccess() const;

  const std::string configPath = "/opt/mossgrove/config/syslog_config.xml";
  wkagent::Mutex poolMutex;
  std::vector<Connection*> connectionPool WKAGENT_GUARDED_BY(poolMutex);  // owned
  wkagent::Mutex queueMutex;
  std::condition_variable queueCondition;
  std::deque<std::string> messageQueue WKAGENT_GUARDED_BY(queueMutex);
  std::atomic<bool> running = true;
  std::thread worker;
  ssl_ctx_st* sslContext = nullptr;
  WKSyslogRetryHandler retryHandler;

 private:
  class State;

  bool StoreAtOnce(const std::string& message);
  bool SendStored(const std::string& message);
  bool SendOne(const std::string& message);
  bool TakeBatch(std::vector<std::string>& batch, std::vector<std::string>& used);
  void FinishBatch(std::vector<std::string>& used) WKAGENT_REQUIRES(queueMutex);
  std::size_t Deliver(Connection* connection, const std::vector<std::string>& batch);
  bool WriteBatch(Connection& connection, const std::vector<std::string>& batch);
  bool WriteTcp(int socket, std::string_view text);
  bool WriteTls(ssl_st* session, std::string_view text);
  std::size_t Store(const std::vector<std::string>& batch);
  void DeliverBatch(std::vector<std::string>& batch);
  void PutBack(std::vector<std::string>& batch);
  void AwaitNextAttempt();
  void StoreQueue();
  void WaitForThreads();

  std::unique_ptr<Connection> Connect();
  void AddToPool(Connection* connection) WKAGENT_REQUIRES(poolMutex);
  void Discard(Connection* connection) WKAGENT_REQUIRES(poolMutex);
  void DestroyFailed(Connection* connection);
  void DestroyAll();

  std::unique_ptr<State> state_;
};

#endif  // WKAGENT_SYSLOG_H
