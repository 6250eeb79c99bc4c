// Runs a fuzz target over files: the findings that were kept, each of which must end cleanly.
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size);

int main(int count, char** files) {
    for (int i = 1; i < count; ++i) {
        std::ifstream in(files[i], std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
        if (!in) {
            std::fprintf(stderr, "cannot read %s\n", files[i]);
            return 1;
        }
        LLVMFuzzerTestOneInput(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    }
    return 0;
}
