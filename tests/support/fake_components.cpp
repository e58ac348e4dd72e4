#include "support/fake_components.h"

#include <cstdint>
#include <memory>
#include <stdexcept>

namespace wkagent::test {
namespace {

struct Handle {
  ComponentEventSink sink;
  void* wrapper;
};

int ToInt(const void* value) { return static_cast<int>(reinterpret_cast<std::intptr_t>(value)); }

// SNMP properties whose values are numbers.
bool IsNumber(int property) {
  return property == 2 || property == 6 || property == 7 || property == 12;
}

std::string Described(int property, int index, const std::string& value, int length) {
  return "Set " + std::to_string(property) + ' ' + std::to_string(index) + ' ' + value + ' ' +
         std::to_string(length);
}

std::string TextOf(const void* value) { return static_cast<const char*>(value); }

}  // namespace

FakeComponents::FakeComponents() {
  calls_.clear();
  doResult = 0;
  destroyResult = 0;
  upTime = 4711;
  duringDo = nullptr;
}

std::vector<std::string> FakeComponents::ValuesOf(int property) {
  const std::string start = "Set " + std::to_string(property) + " 0 ";
  std::vector<std::string> values;
  for (const std::string& call : Calls()) {
    if (!call.starts_with(start)) continue;
    values.push_back(call.substr(start.size(), call.rfind(' ') - start.size()));
  }
  return values;
}

void* FakeComponents::Create(ComponentEventSink sink, void* wrapper, const char* key) {
  Note(std::string("Create \"") + key + '"');
  ++alive_;
  return std::make_unique<Handle>(Handle{sink, wrapper}).release();
}

int FakeComponents::Do(void* handle, int method, int count, void** params, const int* lengths) {
  std::string call = "Do " + std::to_string(method) + ' ' + std::to_string(count);
  for (int i = 0; i < count; ++i)
    call += ' ' + TextOf(params[i]) + ' ' + std::to_string(lengths[i]);
  Note(call);
  const Handle& owner = *static_cast<Handle*>(handle);
  if (duringDo) duringDo(owner.sink, owner.wrapper);
  return doResult;
}

int FakeComponents::Destroy(void* handle) {
  Note("Destroy");
  --alive_;
  const std::unique_ptr<Handle> ended(static_cast<Handle*>(handle));
  return destroyResult;
}

}  // namespace wkagent::test

using wkagent::test::FakeComponents;

void* FileMailer_Create(ComponentEventSink sink, void* wrapper, const char* key) {
  return FakeComponents::Create(sink, wrapper, key);
}

int FileMailer_Set(void* /*handle*/, int property, int index, const void* value, int length) {
  FakeComponents::Note(
      wkagent::test::Described(property, index, wkagent::test::TextOf(value), length));
  return 0;
}

int FileMailer_Do(void* handle, int method, int count, void** params, int* lengths) {
  return FakeComponents::Do(handle, method, count, params, lengths);
}

int FileMailer_Destroy(void* handle) { return FakeComponents::Destroy(handle); }

void* SNMPAgent_Create(ComponentEventSink sink, void* wrapper, const char* key) {
  return FakeComponents::Create(sink, wrapper, key);
}

int SNMPAgent_Set(void* /*handle*/, int property, int index, const void* value, int length) {
  const std::string text = wkagent::test::IsNumber(property)
                               ? std::to_string(wkagent::test::ToInt(value))
                               : wkagent::test::TextOf(value);
  FakeComponents::Note(wkagent::test::Described(property, index, text, length));
  return 0;
}

void* SNMPAgent_Get(void* /*handle*/, int property, int index, int* /*length*/) {
  FakeComponents::Note("Get " + std::to_string(property) + ' ' + std::to_string(index));
  return reinterpret_cast<void*>(static_cast<std::intptr_t>(FakeComponents::upTime.load()));
}

int SNMPAgent_Do(void* handle, int method, int count, void** params, int* lengths) {
  return FakeComponents::Do(handle, method, count, params, lengths);
}

int SNMPAgent_Destroy(void* handle) { return FakeComponents::Destroy(handle); }
