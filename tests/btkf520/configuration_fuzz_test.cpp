// btkf520/configuration_fuzz_test.cpp: the configuration fuzzer over seeded inputs.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

#include "../../fuzz/fuzz_configuration.cpp"

namespace {

constexpr std::string_view kSeeds[] = {
    "\2# VERSION TRVS Trevault_5.2.00\r\nVCSDIR=V:\\vault;W:\\docs\r\nARCHIVESUFFIX .c = _v\r\n"
    "DISALLOW VCSDIR, PROMOTE\r\nUSERID = ENVIRONMENT LOGNAME\r\nACCESSLIST = ann, bo\r\n",
    "\1PROMOTE dev = test\nPROMOTE test = prod\nPROMOTE fix = prod\nPROMOTE prod = top\nPROMOTE\n"
    "PROMOTE a = b\nPROMOTE b = a\n",
    "\200IF HOME\nIF NOT SHELL\nVCSDIR a\nELSEIF SITE == x\nINCLUDE 1\nELSE\nINCLUDE 2\nENDIF\n"
    "ENDIF\n\fINCLUDE 0\nINCLUDE 1\nINCLUDE 2\nINCLUDE 2\n\fINCLUDE 1\nONERROR STOP\nBAD\n",
    "\3DATEWORDS = a b c d e f g h i j k l m n\nDATEFORMAT = dd.mm.yy hh:mm:ss\nONERROR=CONTINUE\n"
    "EVENTTRIGGER PRECHECKIN = lint\nJOURNAL = j\nEXCLUSIVELOCK\nBRANCHWARN off\n",
};

// One small damage, or a piece of another seed: what editors, disks and merges do to a file.
void damage(std::mt19937* random, std::string* text) {
  const auto below = [&](size_t limit) { return (*random)() % limit; };
  const size_t place = below(text->size() + 1);
  const std::string_view other = kSeeds[below(std::size(kSeeds))];
  const size_t start = below(other.size());
  switch (below(5)) {
    case 0:
      if (place < text->size()) (*text)[place] = static_cast<char>(below(256));
      break;
    case 1:
      text->erase(place, below(20));
      break;
    case 2:
      text->insert(place, other.substr(start, below(60)));
      break;
    case 3:
      text->insert(place, 1, "\n\r=#\f \0;"[below(8)]);
      break;
    default:
      text->insert(place, std::string(text->substr(place, below(80))));
  }
}

TEST(ConfigurationFuzz, SurvivesDamagedFiles) {
  for (unsigned seed = 0; seed < 20000; ++seed) {
    std::mt19937 random(seed);
    std::string text(kSeeds[seed % std::size(kSeeds)]);
    for (size_t count = random() % 12; count > 0; --count) damage(&random, &text);
    SCOPED_TRACE(seed);
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(text.data()), text.size());
  }
}

}  // namespace
