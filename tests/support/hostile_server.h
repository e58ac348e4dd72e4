#ifndef WKAGENT_TESTS_SUPPORT_HOSTILE_SERVER_H
#define WKAGENT_TESTS_SUPPORT_HOSTILE_SERVER_H

#include <string>
#include <thread>
#include <vector>

#include <wkagent/mutex.h>

#include "core/handles.h"

namespace wkagent::test {

// A step of a talk: once the client has said something that holds `awaited`, the server says this.
struct Step {
  std::string awaited;  // empty: at once
  std::string answer;
};

// What a server does when it comes to the end of its good manners.
struct Fault {
  enum class Manner {
    kSilence,  // takes what comes and says nothing
    kDeaf,     // does not even take it
    kSays,     // says the text, then nothing more
    kEndless,  // says the text again and again, as fast as it can
    kDrip,     // says the text again and again, a byte every few milliseconds
    kClose,
    kReset,
  };
  Manner manner = Manner::kSilence;
  std::string text = {};
  std::string awaited = {};  // what the client says before; empty: at once
};

// A server on a port of loopback that lets each of its clients down: it goes through the steps of a
// talk and then does its one bad thing, until the client leaves or the object ends.
class HostileServer {
 public:
  HostileServer(std::vector<Step> steps, Fault fault);
  ~HostileServer();
  HostileServer(const HostileServer&) = delete;
  HostileServer& operator=(const HostileServer&) = delete;

  [[nodiscard]] int Port() const { return port_; }
  [[nodiscard]] std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }

  // How many clients have met the bad thing.
  [[nodiscard]] int Victims() const;
  [[nodiscard]] bool WaitForVictim() const;

 private:
  void Listen();
  void Serve(int client);
  [[nodiscard]] bool PlaySteps(int client) const;
  void Misbehave(int client) const;
  void Repeat(int client, bool slowly) const;
  [[nodiscard]] bool IsStopped() const;

  const std::vector<Step> steps_;
  const Fault fault_;
  Fd listener_;
  int port_ = 0;
  mutable Mutex mutex_;
  bool stopped_ WKAGENT_GUARDED_BY(mutex_) = false;
  int victims_ WKAGENT_GUARDED_BY(mutex_) = 0;
  std::vector<int> clients_ WKAGENT_GUARDED_BY(mutex_);  // that are being served
  std::vector<std::thread> servants_;                    // the listening thread's own
  std::thread thread_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_HOSTILE_SERVER_H
