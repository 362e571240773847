#include "platform/CoreServices/Script.h"

#include <gtest/gtest.h>

#include "platform/CoreServices/Files.h"
#include "platform/CoreServices/TextCommon.h"
#include "tests/support/HermeticHome.h"

namespace {

TEST(ScriptManager, RegionAndScriptAreTheLocales) {
  struct Case {
    const char* locale;
    RegionCode region;
    ScriptCode script;
  };
  for (const Case& c : {Case{"C", verUS, smRoman},
                        {"POSIX", verUS, smRoman},
                        {"C.UTF-8", verUS, smRoman},
                        {"xx_YY", verUS, smRoman},
                        {"en_US.UTF-8", verUS, smRoman},
                        {"en_GB", verBritain, smRoman},
                        {"en_IE.UTF-8", verIrelandEnglish, smRoman},
                        {"en_ZA", verUS, smRoman},
                        {"de_AT.UTF-8@euro", verAustria, smRoman},
                        {"de", verGermany, smRoman},
                        {"nb_NO", verNorway, smRoman},
                        {"no_NO", verNorway, smRoman},
                        {"nn_NO.UTF-8", verNynorsk, smRoman},
                        {"pt_BR.UTF-8", verBrazil, smRoman},
                        {"pt_AO", verPortugal, smRoman},
                        {"es_ES", verSpain, smRoman},
                        {"es_MX.UTF-8", verSpLatinAmerica, smRoman},
                        {"es", verSpain, smRoman},
                        {"is_IS.UTF-8", verIceland, smRoman},
                        {"tr_TR.ISO-8859-9", verTurkey, smRoman},
                        {"hr_HR", verCroatia, smRoman},
                        {"sl_SI", verSlovenian, smRoman},
                        {"ro_RO", verRomania, smRoman},
                        {"uk_UA.UTF-8", verUkraine, smCyrillic},
                        {"ru_RU.KOI8-R", verRussia, smCyrillic},
                        {"sr_RS@latin", verSerbian, smCyrillic},
                        {"el_GR", verGreece, smGreek},
                        {"he_IL", verIsrael, smHebrew},
                        {"ar_EG.UTF-8", verArabic, smArabic},
                        {"fa_IR", verIran, smArabic},
                        {"pl_PL", verPoland, smCentralEuroRoman},
                        {"cs_CZ", verCzech, smCentralEuroRoman},
                        {"ja_JP.eucJP", verJapan, smJapanese},
                        {"ko_KR", verKorea, smKorean},
                        {"zh_CN.GB18030", verChina, smSimpChinese},
                        {"zh_TW.Big5", verTaiwan, smTradChinese},
                        {"zh_HK", verTaiwan, smTradChinese},
                        {"th_TH", verThailand, smThai},
                        {"hi_IN", verIndiaHindi, smDevanagari},
                        {"ga_IE", verIreland, smRoman}}) {
    const test::ScopedVariable all("LC_ALL", c.locale);
    EXPECT_EQ(GetScriptManagerVariable(smRegionCode), c.region) << c.locale;
    EXPECT_EQ(GetScriptManagerVariable(smSysScript), c.script) << c.locale;
    EXPECT_EQ(GetScriptManagerVariable(smKeyScript), c.script) << c.locale;
  }
}

TEST(ScriptManager, LocaleVariablesInTheirOrder) {
  const test::ScopedVariable lang("LANG", "ja_JP");
  const test::ScopedVariable noType("LC_CTYPE", "");
  const test::ScopedVariable noAll("LC_ALL", "");
  EXPECT_EQ(GetScriptManagerVariable(smRegionCode), verJapan);
  const test::ScopedVariable type("LC_CTYPE", "he_IL");
  EXPECT_EQ(GetScriptManagerVariable(smRegionCode), verIsrael);
  const test::ScopedVariable all("LC_ALL", "C");
  EXPECT_EQ(GetScriptManagerVariable(smRegionCode), verUS);
  const test::ScopedVariable noLang("LANG", "");
  const test::ScopedVariable noType2("LC_CTYPE", "");
  const test::ScopedVariable noAll2("LC_ALL", "");
  EXPECT_EQ(GetScriptManagerVariable(smRegionCode), verUS);
}

TEST(ScriptManager, OtherVariablesAreZero) {
  for (const SInt16 selector : {0, 2, 4, 8, 38, 42, -5}) {
    EXPECT_EQ(GetScriptManagerVariable(selector), 0);
  }
}

// ---- encodings by number ----

TEST(TextEncodings, AreBaseVariantAndFormat) {
  EXPECT_EQ(CreateTextEncoding(0x0100, 0, kUnicodeUTF8Format), 0x08000100U);
  EXPECT_EQ(CreateTextEncoding(0x0103, 2, 0), 0x00020103U);
  EXPECT_EQ(CreateTextEncoding(0x0100, 0, kUnicodeUTF16BEFormat), 0x10000100U);
  const TextEncoding encoding = CreateTextEncoding(0xABCD, 0x3FF, 0xF);
  EXPECT_EQ(encoding, 0x3FFFABCDU);
  EXPECT_EQ(GetTextEncodingBase(encoding), 0xABCDU);
  EXPECT_EQ(GetTextEncodingVariant(encoding), 0x3FFU);
  EXPECT_EQ(GetTextEncodingFormat(encoding), 0xFU);
  EXPECT_EQ(GetTextEncodingFormat(0xC0000000U), 0U);
}

constexpr SInt32 kAny = -128;
constexpr TextEncoding kUntouched = 0xAAAA;

TEST(TextEncodings, OfScriptLanguageAndRegion) {
  struct Case {
    SInt32 script;
    SInt32 language;
    SInt32 region;
    OSStatus status;
    TextEncoding encoding;
  };
  for (const Case& c : {
           Case{smRoman, kAny, kAny, noErr, 0},
           {smJapanese, kAny, kAny, noErr, 1},
           {smDevanagari, kAny, kAny, noErr, 9},
           {smCentralEuroRoman, kAny, kAny, noErr, 29},
           {smUninterp, kAny, kAny, noErr, 32},
           // Regions with encodings of their own.
           {smRoman, kAny, verUS, noErr, 0},
           {smRoman, kAny, verTurkey, noErr, kTextEncodingMacTurkish},
           {smRoman, kAny, verTurkishModified, noErr, kTextEncodingMacTurkish},
           {smRoman, kAny, verIceland, noErr, kTextEncodingMacIcelandic},
           {smRoman, kAny, verFaroeIsl, noErr, kTextEncodingMacIcelandic},
           {smRoman, kAny, verCroatia, noErr, kTextEncodingMacCroatian},
           {smRoman, kAny, verYugoCroatian, noErr, kTextEncodingMacCroatian},
           {smRoman, kAny, verSlovenian, noErr, kTextEncodingMacCroatian},
           {smRoman, kAny, verRomania, noErr, kTextEncodingMacRomanian},
           {smRoman, kAny, verIreland, noErr, kTextEncodingMacCeltic},
           {smRoman, kAny, verScottishGaelic, noErr, kTextEncodingMacCeltic},
           {smRoman, kAny, verManxGaelic, noErr, kTextEncodingMacCeltic},
           {smRoman, kAny, verBreton, noErr, kTextEncodingMacCeltic},
           {smRoman, kAny, verWelsh, noErr, kTextEncodingMacCeltic},
           {smRoman, kAny, verIrishGaelicScript, noErr, kTextEncodingMacGaelic},
           {smArabic, kAny, verIran, noErr, kTextEncodingMacFarsi},
           {smArabic, kAny, verPakistanUrdu, noErr, 4},
           {smCyrillic, kAny, verUkraine, noErr, kTextEncodingMacUkrainian},
           {smCyrillic, kAny, verRussia, noErr, 7},
           {smEthiopic, kAny, verNunavut, noErr, kTextEncodingMacInuit},
           // Without a script.
           {kAny, kAny, verJapan, noErr, 1},
           {kAny, kAny, verTurkey, noErr, kTextEncodingMacTurkish},
           {kAny, 15, kAny, noErr, kTextEncodingMacIcelandic},
           {kAny, 0, kAny, noErr, 0},
           {kAny, 94, kAny, noErr, 0},
           {kAny, 33, kAny, noErr, 25},
           {kAny, 148, kAny, noErr, 6},
           {kAny, 151, kAny, noErr, 0},
           // The language decides before the region.
           {smRoman, 37, verTurkey, noErr, kTextEncodingMacRomanian},
           {smRoman, 0, verTurkey, noErr, kTextEncodingMacTurkish},
           // Regions of several scripts.
           {smKorean, kAny, verEastAsiaGeneric, noErr, 3},
           {smRoman, kAny, verScriptGeneric, noErr, 0},
           {kAny, kAny, verMultilingual, paramErr, kUntouched},
           // What does not exist.
           {kAny, kAny, kAny, paramErr, kUntouched},
           {33, kAny, kAny, paramErr, kUntouched},
           {99, kAny, verUS, paramErr, kUntouched},
           {-3, kAny, kAny, paramErr, kUntouched},
           {smRoman, 95, kAny, paramErr, kUntouched},
           {smRoman, 127, kAny, paramErr, kUntouched},
           {smRoman, 152, kAny, paramErr, kUntouched},
           {smRoman, -1, kAny, paramErr, kUntouched},
           {smRoman, kAny, 38, paramErr, kUntouched},
           {smRoman, kAny, 109, paramErr, kUntouched},
           {smRoman, kAny, -1, paramErr, kUntouched},
           // Contradictions.
           {smGreek, kAny, verJapan, paramErr, kUntouched},
           {smRoman, kAny, verJapan, paramErr, kUntouched},
           {smJapanese, kAny, verUS, paramErr, kUntouched},
           {smGreek, 0, kAny, paramErr, kUntouched},
           {kAny, 11, verUS, paramErr, kUntouched},
       }) {
    TextEncoding encoding = kUntouched;
    EXPECT_EQ(UpgradeScriptInfoToTextEncoding(c.script, c.language, c.region, nullptr, &encoding),
              c.status)
        << c.script << ' ' << c.language << ' ' << c.region;
    EXPECT_EQ(encoding, c.encoding) << c.script << ' ' << c.language << ' ' << c.region;
  }
  EXPECT_EQ(UpgradeScriptInfoToTextEncoding(0, kAny, kAny, nullptr, nullptr), paramErr);
}

TEST(TextEncodings, OfTheSystemsScript) {
  const test::ScopedVariable all("LC_ALL", "th_TH.UTF-8");
  TextEncoding encoding = 0;
  EXPECT_EQ(UpgradeScriptInfoToTextEncoding(smSystemScript, kAny, kAny, nullptr, &encoding), noErr);
  EXPECT_EQ(encoding, TextEncoding{kTextEncodingMacThai});
  EXPECT_EQ(UpgradeScriptInfoToTextEncoding(smCurrentScript, kAny, verUS, nullptr, &encoding),
            paramErr);
}

TEST(TextEncodings, OfFonts) {
  const auto of = [](const char* pascal) {
    TextEncoding encoding = kUntouched;
    EXPECT_EQ(UpgradeScriptInfoToTextEncoding(
                  smRoman, kAny, kAny, reinterpret_cast<ConstStr255Param>(pascal), &encoding),
              noErr);
    return encoding;
  };
  EXPECT_EQ(of("\006Symbol"), TextEncoding{kTextEncodingMacSymbol});
  EXPECT_EQ(of("\015Zapf Dingbats"), TextEncoding{kTextEncodingMacDingbats});
  EXPECT_EQ(of("\006Geneva"), TextEncoding{kTextEncodingMacRoman});
  EXPECT_EQ(of(""), TextEncoding{kTextEncodingMacRoman});
}

}  // namespace
