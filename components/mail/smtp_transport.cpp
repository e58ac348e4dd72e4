#include "components/mail/smtp_transport.h"

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>

#include <curl/curl.h>

namespace wkagent::components {
namespace {

constexpr long kLongestWait = 30;  // seconds

struct CurlFreer {
  void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
};
struct ListFreer {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using Curl = std::unique_ptr<CURL, CurlFreer>;
using List = std::unique_ptr<curl_slist, ListFreer>;

using Answer = std::function<void(std::string_view)>;

std::size_t Read(char* buffer, std::size_t size, std::size_t count, void* context) {
  std::string_view& rest = *static_cast<std::string_view*>(context);
  const std::size_t length = std::min(size * count, rest.size());
  rest.copy(buffer, length);
  rest.remove_prefix(length);
  return length;
}

std::size_t Header(char* buffer, std::size_t size, std::size_t count, void* context) {
  std::string_view line(buffer, size * count);
  while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
  (*static_cast<const Answer*>(context))(line);
  return size * count;
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

}  // namespace

int SendBySmtp(const Envelope& envelope, const Answer& answer, std::string& error) {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
  const Curl curl(curl_easy_init());
  const List recipients = ToList(envelope.recipients);
  if (curl == nullptr || recipients == nullptr) return CURLE_OUT_OF_MEMORY;
  std::array<char, CURL_ERROR_SIZE> reason{};
  std::string_view rest = envelope.message;
  const std::string url = "smtp://" + envelope.server;
  CURL* const c = curl.get();
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
  curl_easy_setopt(c, CURLOPT_READFUNCTION, Read);
  curl_easy_setopt(c, CURLOPT_READDATA, &rest);
  curl_easy_setopt(c, CURLOPT_HEADERFUNCTION, Header);
  curl_easy_setopt(c, CURLOPT_HEADERDATA, &answer);
  curl_easy_setopt(c, CURLOPT_TIMEOUT, kLongestWait);
  curl_easy_setopt(c, CURLOPT_CONNECTTIMEOUT, kLongestWait);
  curl_easy_setopt(c, CURLOPT_NOSIGNAL, 1L);
  const CURLcode code = curl_easy_perform(c);
  if (code == CURLE_OK) return 0;
  error = reason[0] != '\0' ? reason.data() : curl_easy_strerror(code);
  return code;
}

}  // namespace wkagent::components
