#include "autoresponder/run/configuration.h"

#include <pthread.h>
#include <string_view>

#include "support/base/text.h"
#include "support/conf.h"
#include "support/conf_text.h"

namespace {

bool is_on(const char* key) {
  const char* const value = conf_lookup(key);
  const std::string_view word = value != nullptr ? value : "off";
  if (word != "on" && word != "off") diagnose({"autoresponder: ", key, " is neither on nor off"});
  return word == "on";
}

}  // namespace

void hide_configuration() {
  pthread_atfork(nullptr, nullptr, kem::wipe_conf);
}

Switches read_switches() {
  const bool repairs = is_on("AUTORESPONDER_REPAIRS");
  return {all_repairs(repairs), is_on("AUTORESPONDER_COURTESY")};
}
