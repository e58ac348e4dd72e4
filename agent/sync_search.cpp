#include "agent/sync_search.h"

#include <array>
#include <iterator>

namespace wkagent {
namespace {

constexpr char kLog[] = "cn=accesslog";
constexpr char kFilter[] =
    "(|(reqType=add)(reqType=delete)(reqType=modify)(reqType=modrdn)(reqType=bind)"
    "(reqType=unbind))";

// syncRequestValue ::= SEQUENCE { mode ENUMERATED, cookie OCTET STRING OPTIONAL }
BerValuePtr RequestValue(const std::string& csn) {
  const BerPtr ber(ber_alloc_t(LBER_USE_DER));
  if (ber == nullptr) return nullptr;
  // OpenLDAP's cookie: who asks, and the number after which it wants to read.
  const std::string cookie = "rid=000,csn=" + csn;
  const berval bytes = {cookie.size(), const_cast<char*>(cookie.c_str())};
  const int written = csn.empty()
                          ? ber_printf(ber.get(), "{e}", LDAP_SYNC_REFRESH_AND_PERSIST)
                          : ber_printf(ber.get(), "{eO}", LDAP_SYNC_REFRESH_AND_PERSIST, &bytes);
  berval* value = nullptr;
  if (written == -1 || ber_flatten(ber.get(), &value) != 0) return nullptr;
  return BerValuePtr(value);
}

// True when a syncInfoValue says that the refresh is over.
bool EndsRefresh(berval& info) {
  const BerPtr ber(ber_init(&info));
  if (ber == nullptr) return false;
  ber_len_t length = 0;
  const ber_tag_t phase = ber_skip_tag(ber.get(), &length);
  if (phase != LDAP_TAG_SYNC_REFRESH_DELETE && phase != LDAP_TAG_SYNC_REFRESH_PRESENT) return false;
  for (ber_tag_t tag = ber_peek_tag(ber.get(), &length); tag != LBER_DEFAULT;
       tag = ber_peek_tag(ber.get(), &length)) {
    if (tag == LDAP_TAG_REFRESHDONE) {
      ber_int_t done = 1;
      return ber_scanf(ber.get(), "b", &done) == LBER_ERROR || done != 0;
    }
    if (ber_scanf(ber.get(), "x") == LBER_ERROR) break;
  }
  return true;  // the default
}

}  // namespace

int SyncSearch::Begin(const std::string& csn) {
  const BerValuePtr value = RequestValue(csn);
  if (value == nullptr) return LDAP_ENCODING_ERROR;
  char oid[] = LDAP_CONTROL_SYNC;
  LDAPControl sync = {oid, *value, 1};
  std::array<LDAPControl*, 2> controls = {&sync, nullptr};
  std::array<char*, std::size(AccessLogEntry::kAttributes) + 1> attributes{};
  for (std::size_t i = 0; i < std::size(AccessLogEntry::kAttributes); ++i) {
    attributes[i] = const_cast<char*>(AccessLogEntry::kAttributes[i]);
  }
  refreshing_ = true;
  return ldap_search_ext(ldap_, kLog, LDAP_SCOPE_SUBTREE, kFilter, attributes.data(), 0,
                         controls.data(), nullptr, nullptr, LDAP_NO_LIMIT, &id_);
}

SyncSearch::State SyncSearch::Next() {
  timeval now = {0, 0};
  LDAPMessage* message = nullptr;
  const int type = ldap_result(ldap_, id_, LDAP_MSG_ONE, &now, &message);
  const LdapMessagePtr answer(message);
  switch (type) {
    case 0:
      return State::kNothing;
    case LDAP_RES_SEARCH_ENTRY:
      return ReadEntry(answer.get()) ? State::kEntry : State::kOther;
    case LDAP_RES_INTERMEDIATE:
      ReadIntermediate(answer.get());
      return State::kOther;
    case LDAP_RES_SEARCH_RESULT:
      if (ldap_parse_result(ldap_, answer.get(), &code_, nullptr, nullptr, nullptr, nullptr, 0) !=
          LDAP_SUCCESS) {
        code_ = LDAP_DECODING_ERROR;
      }
      return State::kEnded;
    case -1:
      ldap_get_option(ldap_, LDAP_OPT_RESULT_CODE, &code_);
      return State::kEnded;
    default:
      return State::kOther;
  }
}

// False for an entry without attributes, which tells of a removal from the log.
bool SyncSearch::ReadEntry(LDAPMessage* message) {
  entry_ = AccessLogEntry();
  bool any = false;
  BerElement* position = nullptr;
  LdapText name(ldap_first_attribute(ldap_, message, &position));
  while (name != nullptr) {
    const BerValuesPtr values(ldap_get_values_len(ldap_, message, name.get()));
    for (berval** value = values.get(); value != nullptr && *value != nullptr; ++value) {
      entry_.Add(name.get(), {(*value)->bv_val, (*value)->bv_len});
      any = true;
    }
    name.reset(ldap_next_attribute(ldap_, message, position));
  }
  if (position != nullptr) ber_free(position, 0);
  return any;
}

void SyncSearch::ReadIntermediate(LDAPMessage* message) {
  char* oid = nullptr;
  berval* data = nullptr;
  if (ldap_parse_intermediate(ldap_, message, &oid, &data, nullptr, 0) != LDAP_SUCCESS) return;
  const LdapText name(oid);
  const BerValuePtr value(data);
  if (name == nullptr || value == nullptr) return;
  if (std::string_view(name.get()) == LDAP_SYNC_INFO && EndsRefresh(*value)) refreshing_ = false;
}

}  // namespace wkagent
