// What it costs to read and to release a patch description of n items.
#include <benchmark/benchmark.h>

#include <string>

#include "ini/KvIniUtil.h"
#include "log/KvVcEventManager.h"
#include "patch/KvUpdateStru.h"

namespace {

std::string descriptionOf(int64_t items) {
    std::string text = "[common]\nitemcount=" + std::to_string(items) +
                       "\npatchagent.version=1\naction=0\nvelocore_path=/opt/velocore\n";
    for (int64_t i = 0; i < items; ++i) {
        text += "[item_" + std::to_string(i) +
                "]\nclass=1\ntype=7\norigin.version=5.2.1234\nresult.version=5.3\n"
                "destination=/opt/velocore/app\nitem.zip=app.zip\n";
    }
    return text;
}

void readDescription(benchmark::State& state) {
    g_pEventManager->redirectToCallback(nullptr, nullptr);
    const std::string text = descriptionOf(state.range(0));
    const KvIniUtil document(text.c_str(), ';', false, true, '=');
    for (auto _ : state) {
        updateStru description{};
        if (phaseIniForUpdate(&document, &description) != kDescriptionParsed) {
            state.SkipWithError("the description is unusable");
        }
        freeUpdateStru(&description);
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(readDescription)->RangeMultiplier(8)->Range(16, 65536)->Complexity();

}  // namespace
