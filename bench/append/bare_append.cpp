// The least that an append can cost: parse the event, load the configuration file, run the shells.
// Nothing is judged or read. Arguments: event file, configuration file and, if shells are to run,
// the line of the inner one.
#include <yaml-cpp/yaml.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  std::string text;
  std::ifstream in(argv[1], std::ios::binary | std::ios::ate);
  text.resize(static_cast<std::size_t>(in.tellg()));
  in.seekg(0);
  in.read(text.data(), static_cast<std::streamsize>(text.size()));
  const nlohmann::json event = nlohmann::json::parse(text);
  const YAML::Node root = YAML::LoadFile(argv[2]);
  if (event.empty() || !root.IsDefined()) return 1;
  if (argc < 4) return 0;

  std::FILE* pipe = popen(argv[3], "r");
  if (pipe == nullptr) return 1;
  char chunk[4096];
  while (std::fgets(chunk, sizeof chunk, pipe) != nullptr) {
  }
  return pclose(pipe) == 0 ? 0 : 1;
}
