#include "agent/access_log_source.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

#include <unistd.h>

#include "agent/directory_attempt.h"
#include "agent/directory_connection.h"
#include "agent/report.h"
#include "core/bounded_copy.h"

namespace wkagent {
namespace {

constexpr std::chrono::seconds kFirstPause(1);
constexpr std::chrono::seconds kLongestPause(60);
constexpr int kAnswersAtOnce = 256;

struct Advice {
  int code;
  const char* text;
};

constexpr Advice kAdvice[] = {
    {LDAP_NO_SUCH_OBJECT,
     "the server has no cn=accesslog, or the user of the settings may not read it"},
    {LDAP_UNAVAILABLE_CRITICAL_EXTENSION, "the database cn=accesslog needs the overlay syncprov"},
    {LDAP_SIZELIMIT_EXCEEDED,
     "the user of the settings needs an unlimited size of searches in cn=accesslog (olcLimits)"},
    {LDAP_TIMELIMIT_EXCEEDED,
     "the user of the settings needs an unlimited time of searches in cn=accesslog (olcLimits)"},
};

std::string AdviceFor(int code) {
  const auto* const found = std::find_if(std::begin(kAdvice), std::end(kAdvice),
                                         [&](const Advice& advice) { return advice.code == code; });
  return found == std::end(kAdvice) ? std::string() : std::string("; ") + found->text;
}

// Where the settings could not be read. What the parser says about a place may quote what stands
// there, which may be the password.
std::string WithoutParserWords(const std::string& error, const std::string& path) {
  const std::size_t line = path.size() + 1;
  const std::size_t end = error.find_first_not_of("0123456789", line);
  if (end == std::string::npos || end <= line) return error;
  return error.substr(0, end) + ": no well-formed XML; --check-config tells more";
}

bool IsLocal(const tagLDAPConfig& config) {
  const std::string_view host = BoundedView(config.Server);
  return host == "localhost" || host.starts_with("127.") || host == "::1";
}

}  // namespace

AccessLogSource::AccessLogSource(std::string settingsPath, std::string caFile)
    : settingsPath_(std::move(settingsPath)),
      caFile_(std::move(caFile)),
      nextAttempt_(Clock::now()),
      pause_(kFirstPause) {}

AccessLogSource::~AccessLogSource() { WipePassword(config_); }

ExitStatus AccessLogSource::Open() {
  if (access(settingsPath_.c_str(), R_OK) != 0) {
    Report(settingsPath_ + ": " + std::strerror(errno));
    return kInputMissing;
  }
  const std::string error = ReadSettings(config_);
  if (error.empty()) return kDone;
  Report(error);
  return kBadConfiguration;
}

// Empty, or what is wrong with the settings.
std::string AccessLogSource::ReadSettings(tagLDAPConfig& config) const {
  WKLdapConfig reader;
  reader.InitializeLogMessage(IgnoreLibraryMessage);  // the reason is reported by the caller
  if (reader.ReadFile(const_cast<char*>(settingsPath_.c_str()), config) != 0) {
    return WithoutParserWords(reader.GetReadError(), settingsPath_);
  }
  if (config.Server[0] == '\0') {
    return settingsPath_ + ": LDAPServer is missing: it names the directory server";
  }
  if (config.PortNumber < 0 || config.PortNumber > UINT16_MAX) {
    return settingsPath_ + ": LDAPPortNumber is no port from 1 to 65535";
  }
  return {};
}

std::string AccessLogSource::LogName() const { return "cn=accesslog on " + ServerName(config_); }

void AccessLogSource::StartAt(const LogPosition& position) { position_ = position; }

void AccessLogSource::Attach(FeedSink& sink) { sink_ = &sink; }

int AccessLogSource::WaitFd() const {
  int fd = -1;
  if (attempt_ != nullptr) return attempt_->WaitFd();
  if (ldap_ != nullptr) ldap_get_option(ldap_.get(), LDAP_OPT_DESC, &fd);
  return fd;
}

Source::State AccessLogSource::Work(bool /*ready*/) {
  if (search_ == nullptr && !Connect()) return State::kIdle;
  for (int i = 0; i < kAnswersAtOnce; ++i) {
    switch (search_->Next()) {
      case SyncSearch::State::kEntry:
        TakeEntry(search_->Entry());
        break;
      case SyncSearch::State::kOther:
        break;
      case SyncSearch::State::kNothing:
        if (!search_->IsRefreshing()) pause_ = kFirstPause;  // the connection is a good one
        return State::kIdle;
      case SyncSearch::State::kEnded:
        EndSearch();
        return State::kIdle;
    }
  }
  return State::kBusy;
}

// True once a search has begun; until then, each call takes the attempt a step further.
bool AccessLogSource::Connect() {
  if (attempt_ == nullptr) {
    if (Clock::now() >= nextAttempt_) StartAttempt();
    return false;
  }
  if (!attempt_->IsDone()) return false;
  DirectoryAttempt::Outcome outcome = attempt_->Take();
  attempt_.reset();
  if (outcome.ldap != nullptr) return BeginSearch(std::move(outcome));
  Disconnect(outcome.error);
  return false;
}

void AccessLogSource::StartAttempt() {
  try {
    attempt_ = std::make_unique<DirectoryAttempt>(config_, caFile_);
  } catch (const std::system_error& error) {
    // No descriptor, or no thread: as good a reason to try again later as any other.
    Disconnect(std::string("connecting: ") + error.what());
  }
}

bool AccessLogSource::BeginSearch(DirectoryAttempt::Outcome outcome) {
  ldap_ = std::move(outcome.ldap);
  if (!outcome.encrypted && !IsLocal(config_) && !std::exchange(warnedOfPlain_, true)) {
    sink_->OnProblem(LogName() +
                     ": the server offers no TLS, so the password and all that is read "
                     "cross the network in the clear");
  }
  events_ = std::make_unique<AccessLogEvents>(*sink_, BoundedView(config_.Server),
                                              BoundedView(config_.TreeName));
  search_ = std::make_unique<SyncSearch>(ldap_.get());
  newEntries_ = false;
  const int code = search_->Begin(fromStart_ ? std::string() : position_.Base());
  if (code == LDAP_SUCCESS) return true;
  Disconnect("searching: " + DescribeLdapError(ldap_.get(), code));
  return false;
}

void AccessLogSource::TakeEntry(const AccessLogEntry& entry) {
  const std::string_view csn = entry.First("entryCSN");
  const std::string_view id = entry.First("reqStart");
  const bool old = search_->IsRefreshing() && csn <= position_.Base();
  if (old || position_.Contains(id)) return;
  newEntries_ = true;
  pause_ = kFirstPause;
  sink_->OnEntryBegun(id);
  if (const std::string error = events_->Take(entry); !error.empty()) {
    sink_->OnMalformed(0, std::string("entry ").append(id).append(": ").append(error));
  }
  position_.Add(csn, id);
  sink_->OnEntryRead(csn, id);
}

void AccessLogSource::EndSearch() {
  const int code = search_->Code();
  const bool stale = code == LDAP_SYNC_REFRESH_REQUIRED && !fromStart_;
  fromStart_ = stale;
  if (stale) {
    sink_->OnProblem(LogName() + ": the server no longer holds all that followed " +
                     position_.Base() + "; what it purged before it was read is lost");
    nextAttempt_ = Clock::now();
  } else if (code == LDAP_SIZELIMIT_EXCEEDED && newEntries_) {
    nextAttempt_ = Clock::now();  // the next part, from where this one ended
  } else {
    return Disconnect("reading: " + DescribeLdapError(ldap_.get(), code) + AdviceFor(code));
  }
  search_.reset();
  ldap_.reset();
}

void AccessLogSource::Disconnect(const std::string& reason) {
  search_.reset();
  ldap_.reset();
  nextAttempt_ = Clock::now() + pause_;
  sink_->OnProblem(LogName() + ": " + reason + "; trying again in " +
                   std::to_string(pause_.count()) + " s");
  pause_ = std::min(pause_ * 2, kLongestPause);
}

void AccessLogSource::ReloadSettings() {
  tagLDAPConfig config{};
  const std::string error = ReadSettings(config);
  const bool sameServer = ServerName(config) == ServerName(config_);
  if (error.empty() && sameServer) config_ = config;
  WipePassword(config);
  if (!error.empty()) {
    return sink_->OnProblem(error + "; the settings read before stay in force");
  }
  if (!sameServer) {
    return sink_->OnProblem(settingsPath_ + ": another server is taken after the next start");
  }
  Report(settingsPath_ + ": read again");
  attempt_.reset();
  search_.reset();
  ldap_.reset();
  pause_ = kFirstPause;
  nextAttempt_ = Clock::now();
}

}  // namespace wkagent
