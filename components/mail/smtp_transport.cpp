#include "components/mail/smtp_transport.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <mutex>

#include <curl/curl.h>

namespace wkagent::components {
namespace {

using Clock = std::chrono::steady_clock;

struct CurlFreer {
  void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
};
struct ListFreer {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using Curl = std::unique_ptr<CURL, CurlFreer>;
using List = std::unique_ptr<curl_slist, ListFreer>;

// One transfer, as libcurl's callbacks see it.
struct Transfer {
  const Follower& follower;
  std::size_t answersLeft;
  Clock::time_point deadline;
  std::string_view rest;  // of the message
  bool brokenOff = false;
};

std::size_t Read(char* buffer, std::size_t size, std::size_t count, void* context) {
  std::string_view& rest = static_cast<Transfer*>(context)->rest;
  const std::size_t length = std::min(size * count, rest.size());
  rest.copy(buffer, length);
  rest.remove_prefix(length);
  return length;
}

std::size_t Header(char* buffer, std::size_t size, std::size_t count, void* context) {
  std::string_view line(buffer, size * count);
  Transfer& transfer = *static_cast<Transfer*>(context);
  if (line.size() > transfer.answersLeft) return 0;  // which ends the transfer
  transfer.answersLeft -= line.size();
  while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
  transfer.follower.answer(line);
  return size * count;
}

// Also called while libcurl waits for the answer to QUIT, which its own time-out leaves out.
int Progress(void* context, curl_off_t /*toReceive*/, curl_off_t /*received*/,
             curl_off_t /*toSend*/, curl_off_t sent) {
  Transfer& transfer = *static_cast<Transfer*>(context);
  transfer.brokenOff = !transfer.follower.goesOn(static_cast<std::size_t>(sent));
  return transfer.brokenOff || Clock::now() >= transfer.deadline ? 1 : 0;
}

List ToList(const std::vector<std::string>& recipients) {
  List list;
  for (const std::string& recipient : recipients) {
    curl_slist* const longer = curl_slist_append(list.get(), recipient.c_str());
    if (longer == nullptr) return nullptr;
    (void)list.release();
    list.reset(longer);
  }
  return list;
}

std::string Describe(const Transfer& transfer, CURLcode code, const char* reason) {
  if (transfer.brokenOff) return "broken off";
  if (code == CURLE_ABORTED_BY_CALLBACK) return "Operation timed out";
  return reason[0] != '\0' ? reason : curl_easy_strerror(code);
}

void FollowBy(CURL* c, Transfer& transfer) {
  curl_easy_setopt(c, CURLOPT_READFUNCTION, Read);
  curl_easy_setopt(c, CURLOPT_READDATA, &transfer);
  curl_easy_setopt(c, CURLOPT_HEADERFUNCTION, Header);
  curl_easy_setopt(c, CURLOPT_HEADERDATA, &transfer);
  curl_easy_setopt(c, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(c, CURLOPT_XFERINFOFUNCTION, Progress);
  curl_easy_setopt(c, CURLOPT_XFERINFODATA, &transfer);
}

void Limit(CURL* c, std::chrono::milliseconds time) {
  const auto limit = static_cast<long>(time.count());
  curl_easy_setopt(c, CURLOPT_TIMEOUT_MS, limit);
  curl_easy_setopt(c, CURLOPT_CONNECTTIMEOUT_MS, limit);
  curl_easy_setopt(c, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(c, CURLOPT_FORBID_REUSE, 1L);  // or QUIT is said where nobody looks at the time
  curl_easy_setopt(c, CURLOPT_QUICK_EXIT, 1L);    // a name server that is silent is not waited for
}

}  // namespace

int SendBySmtp(const Envelope& envelope, const Follower& follower, std::string& error,
               const Limits& limits) {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
  const Curl curl(curl_easy_init());
  const List recipients = ToList(envelope.recipients);
  if (curl == nullptr || recipients == nullptr) return CURLE_OUT_OF_MEMORY;
  std::array<char, CURL_ERROR_SIZE> reason{};
  Transfer transfer{follower, limits.answers, Clock::now() + limits.time, envelope.message};
  const std::string url = "smtp://" + envelope.server;
  CURL* const c = curl.get();
  FollowBy(c, transfer);
  Limit(c, limits.time);
  curl_easy_setopt(c, CURLOPT_ERRORBUFFER, reason.data());
  curl_easy_setopt(c, CURLOPT_URL, url.c_str());
  curl_easy_setopt(c, CURLOPT_PROTOCOLS_STR, "smtp");
  curl_easy_setopt(c, CURLOPT_PROXY, "");
  curl_easy_setopt(c, CURLOPT_MAIL_FROM, envelope.from.c_str());
  curl_easy_setopt(c, CURLOPT_MAIL_RCPT, recipients.get());
  curl_easy_setopt(c, CURLOPT_MAIL_RCPT_ALLLOWFAILS, 1L);  // the others must still hear of it
  curl_easy_setopt(c, CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_TRY));
  curl_easy_setopt(c, CURLOPT_SSL_VERIFYPEER, 0L);
  curl_easy_setopt(c, CURLOPT_SSL_VERIFYHOST, 0L);
  curl_easy_setopt(c, CURLOPT_UPLOAD, 1L);
  const CURLcode code = curl_easy_perform(c);
  if (code == CURLE_OK) return 0;
  error = Describe(transfer, code, reason.data());
  return code;
}

}  // namespace wkagent::components
