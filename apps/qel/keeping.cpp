// The options --store and --layout.
#include "apps/qel/keeping.h"

#include <map>
#include <string>

namespace app {

void AddKeepingOptions(CLI::App &verb, Keeping &keeping) {
  const std::map<std::string, int> stores{{"memory", 1}, {"reserved", 4}, {"mapping", 8}};
  const std::map<std::string, bool> layouts{{"linear", false}, {"block", true}};
  verb.add_option("--store", keeping.store, "where pixels are kept meanwhile: memory (default), reserved or mapping")
      ->transform(CLI::Transformer(stores))
      ->check(CLI::IsMember({1, 4, 8}).description(""))
      ->type_name("STORE");
  verb.add_option("--layout", keeping.block, "how pixels are laid out meanwhile: linear (default) or block")
      ->transform(CLI::Transformer(layouts))
      ->check(CLI::IsMember({0, 1}).description(""))
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
