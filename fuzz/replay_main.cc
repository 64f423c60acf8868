// A fuzz target without libFuzzer: runs it once on every file of the folders named, so that the
// seeds, every past finding among them, stay a regression test of the ordinary builds.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize) LLVMFuzzerInitialize(&argc, &argv);
  int inputs = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream in(entry.path(), std::ios::binary);
      const std::string data((std::istreambuf_iterator<char>(in)),
                             std::istreambuf_iterator<char>());
      LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(data.data()), data.size());
      ++inputs;
    }
  }
  std::printf("%d inputs passed\n", inputs);
  return inputs > 0 ? 0 : 1;
}
