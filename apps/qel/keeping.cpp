// The options --store and --layout.
#include "apps/qel/keeping.h"

#include <string>

namespace app {

void AddKeepingOptions(CLI::App &verb, Keeping &keeping) {
  const auto setStore = [&keeping](const std::string &name) {
    keeping.store = name == "memory" ? 1 : name == "reserved" ? 4 : 8;
  };
  verb.add_option_function<std::string>("--store", setStore, "where pixels are kept meanwhile (default: memory)")
      ->check(CLI::IsMember({"memory", "reserved", "mapping"}))
      ->type_name("STORE");
  const auto setLayout = [&keeping](const std::string &name) { keeping.block = name == "block"; };
  verb.add_option_function<std::string>("--layout", setLayout, "how pixels are laid out meanwhile (default: linear)")
      ->check(CLI::IsMember({"linear", "block"}))
      ->type_name("LAYOUT");
}

const char *NameOfStore(int store) {
  switch (store) {
    case 4:
      return "reserved memory";
    case 8:
      return "named mapping";
    default:
      return "global memory";
  }
}

}  // namespace app
