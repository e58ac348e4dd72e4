// A spool file of mails, which the component refuses.

#include <cstring>

#include <wkagent/alert.h>

#include "fuzz/fuzz.h"
#include "support/agent_home.h"
#include "support/fake_components.h"

namespace {

constexpr std::size_t kRecord = 768;
constexpr int kSubject = 38;
constexpr std::size_t kSubjectOffset = 384;
constexpr std::size_t kSubjectSize = 128;

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  static const wkagent::test::AgentHome home;
  constexpr char kName[] = "tmp/SMTP.20260101000000.txt";
  // An empty mail first: removing a file without mails takes a program, and long.
  std::string spool(kRecord, '\0');
  spool.append(reinterpret_cast<const char*>(data), size);
  home.Write(kName, spool);
  wkagent::test::FakeComponents components;
  wkagent::test::FakeComponents::doResult = 1;
  WKSMTPAlert mail;
  mail.SetSafeReplay(true);
  Require(mail.Deserialize(home.Path(kName).data()) == 0, "what is left can be kept");
  spool.resize(spool.size() / kRecord * kRecord);
  Require(home.Read(kName) == spool, "whole mails stay as they were, half a mail goes");
  const auto subjects = wkagent::test::FakeComponents::ValuesOf(kSubject);
  Require(subjects.size() == spool.size() / kRecord, "each mail is tried once");
  for (std::size_t i = 0; i < subjects.size(); ++i) {
    const char* const field = spool.data() + i * kRecord + kSubjectOffset;
    Require(subjects[i] == std::string(field, strnlen(field, kSubjectSize - 1)),
            "a subject ends in its field");
  }
  Require(wkagent::test::FakeComponents::Alive() == 0, "each component is destroyed");
  return 0;
}
