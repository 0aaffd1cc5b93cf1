// The package's VST 3 bundle and CLAP plug-in in the tests' own hosts, beside
// the build's: loaded from where the package installs them (PACKAGE_FILE, set
// by check_package.sh; for CLAP also a lone link to the file), each renders an impulse
// bit for bit as the build's does and saves the same state. The state holds
// the whole bank: a library that missed its factory bank saves empty programs.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/clap/ClapTestHost.h"
#include "tests/vst3/Vst3Host.h"

namespace {

constexpr int kBlock = 512;
constexpr int kBlocks = 100;  // past the first echo of the factory programs

std::string PackageFile() {
    const char* file = std::getenv("PACKAGE_FILE");
    return file ? file : "";
}

// The left and right outputs of an impulse, block after block.
struct Response {
    std::vector<float> left, right;
    template <class ProcessBlock>
    explicit Response(ProcessBlock process) {
        std::vector<float> inL(kBlock), inR(kBlock), outL(kBlock), outR(kBlock);
        for (int block = 0; block < kBlocks; block++) {
            inL.assign(kBlock, 0.0f);
            inR.assign(kBlock, 0.0f);
            if (block == 0) inL[3] = inR[7] = 1.0f;
            float* in[] = {inL.data(), inR.data()};
            float* out[] = {outL.data(), outR.data()};
            process(in, out);
            left.insert(left.end(), outL.begin(), outL.end());
            right.insert(right.end(), outR.begin(), outR.end());
        }
    }
    bool operator==(const Response& other) const { return left == other.left && right == other.right; }
};

Response RenderVst3(vst3test::Plugin& plugin) {
    plugin.Prepare(vst3::kSample32, kBlock);
    return Response([&](float** in, float** out) { plugin.Process(in, out, kBlock); });
}

Response RenderClap(ClapTestHost& instance) {
    instance.Start(44100.0, kBlock);
    return Response([&](float** in, float** out) { instance.Process(in, out, kBlock); });
}

}  // namespace

TEST(PackageVst3, RendersAndSavesAsTheBuilds) {
    const std::string file = PackageFile();
    vst3test::Plugin fromPackage(file.c_str()), fromBuild;
    ASSERT_TRUE(fromPackage.Ready() && fromBuild.Ready()) << file;
    EXPECT_TRUE(fromPackage.State() == fromBuild.State());
    EXPECT_TRUE(RenderVst3(fromPackage) == RenderVst3(fromBuild));
}

TEST(PackageClap, RendersAndSavesAsTheBuilds) {
    const std::string file = PackageFile();
    ClapTestHost fromPackage(file.c_str()), fromBuild;
    ASSERT_TRUE(fromPackage.plugin && fromBuild.plugin) << file;
    EXPECT_TRUE(fromPackage.State() == fromBuild.State());
    EXPECT_TRUE(RenderClap(fromPackage) == RenderClap(fromBuild));
}
