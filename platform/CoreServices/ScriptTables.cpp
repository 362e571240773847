#include "platform/CoreServices/ScriptTables.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

namespace lumivane::text {

namespace {

constexpr ScriptCode kLanguageScripts[] = {
    smRoman,
    smRoman,
    smRoman,
    smRoman,
    smRoman,  // 0
    smRoman,
    smRoman,
    smRoman,
    smRoman,
    smRoman,  // 5
    smHebrew,
    smJapanese,
    smArabic,
    smRoman,
    smGreek,  // 10
    smRoman,
    smRoman,
    smRoman,
    smRoman,
    smTradChinese,  // 15
    smArabic,
    smDevanagari,
    smThai,
    smKorean,
    smCentralEuroRoman,
    smCentralEuroRoman,
    smCentralEuroRoman,
    smCentralEuroRoman,
    smCentralEuroRoman,
    smRoman,
    smRoman,
    smArabic,
    smCyrillic,
    smSimpChinese,
    smRoman,  // 30
    smRoman,
    smRoman,
    smRoman,
    smCentralEuroRoman,
    smCentralEuroRoman,
    smRoman,
    smHebrew,
    smCyrillic,
    smCyrillic,
    smCyrillic,  // 40
    smCyrillic,
    smCyrillic,
    smCyrillic,
    smCyrillic,
    smCyrillic,  // 45
    smArabic,
    smArmenian,
    smGeorgian,
    smCyrillic,
    smCyrillic,  // 50
    smCyrillic,
    smCyrillic,
    smMongolian,
    smCyrillic,
    smArabic,  // 55
    smArabic,
    smArabic,
    smExtArabic,
    smTibetan,
    smDevanagari,  // 60
    smDevanagari,
    smDevanagari,
    smBengali,
    smBengali,
    smGujarati,  // 65
    smGurmukhi,
    smOriya,
    smMalayalam,
    smKannada,
    smTamil,  // 70
    smTelugu,
    smSinhalese,
    smBurmese,
    smKhmer,
    smLao,  // 75
    smVietnamese,
    smRoman,
    smRoman,
    smRoman,
    smArabic,  // 80
    smEthiopic,
    smEthiopic,
    smEthiopic,
    smRoman,
    smRoman,  // 85
    smRoman,
    smRoman,
    smRoman,
    smRoman,
    smRoman,  // 90
};
constexpr LangCode kFirstLaterLanguage = 128;
constexpr ScriptCode kLaterLanguageScripts[] = {
    smRoman,  smRoman,   smRoman, smRoman, smRoman, smRoman, smRoman, smCyrillic,  // 128
    smArabic, smTibetan, smRoman, smRoman, smRoman, smRoman, smRoman, smEthiopic,  // 136
    smRoman,  smRoman,   smRoman, smRoman, smGreek, smRoman, smRoman, smRoman,     // 144
};

struct OwnEncoding {
  LangCode language;
  TextEncodingBase encoding;
};
constexpr OwnEncoding kLanguageEncodings[] = {
    {15, kTextEncodingMacIcelandic},  // Icelandic
    {17, kTextEncodingMacTurkish},    // Turkish
    {18, kTextEncodingMacCroatian},   // Croatian
    {30, kTextEncodingMacIcelandic},  // Faroese
    {31, kTextEncodingMacFarsi},      // Farsi
    {35, kTextEncodingMacCeltic},     // Irish Gaelic
    {37, kTextEncodingMacRomanian},   // Romanian
    {40, kTextEncodingMacCroatian},   // Slovenian
    {45, kTextEncodingMacUkrainian},  // Ukrainian
    {128, kTextEncodingMacCeltic},    // Welsh
    {142, kTextEncodingMacCeltic},    // Breton
    {143, kTextEncodingMacInuit},     // Inuktitut
    {144, kTextEncodingMacCeltic},    // Scottish Gaelic
    {145, kTextEncodingMacCeltic},    // Manx Gaelic
    {146, kTextEncodingMacGaelic},    // Irish Gaelic in its own letters
};

constexpr TextEncodingBase Own(ScriptCode script) {
  return static_cast<TextEncodingBase>(script);
}

// Of several regions of one locale, the first is the one meant by it.
constexpr RegionInfo kRegions[] = {
    {verUS, smRoman, Own(smRoman), "en_US"},
    {verFrance, smRoman, Own(smRoman), "fr_FR"},
    {verBritain, smRoman, Own(smRoman), "en_GB"},
    {verGermany, smRoman, Own(smRoman), "de_DE"},
    {verItaly, smRoman, Own(smRoman), "it_IT"},
    {verNetherlands, smRoman, Own(smRoman), "nl_NL"},
    {verFlemish, smRoman, Own(smRoman), "nl_BE"},
    {verSweden, smRoman, Own(smRoman), "sv_SE"},
    {verSpain, smRoman, Own(smRoman), "es_ES"},
    {verDenmark, smRoman, Own(smRoman), "da_DK"},
    {verPortugal, smRoman, Own(smRoman), "pt_PT"},
    {verFrCanada, smRoman, Own(smRoman), "fr_CA"},
    {verNorway, smRoman, Own(smRoman), "nb_NO"},
    {verNorway, smRoman, Own(smRoman), "no_NO"},
    {verIsrael, smHebrew, Own(smHebrew), "he_IL"},
    {verIsrael, smHebrew, Own(smHebrew), "iw_IL"},
    {verJapan, smJapanese, Own(smJapanese), "ja_JP"},
    {verAustralia, smRoman, Own(smRoman), "en_AU"},
    {verArabic, smArabic, Own(smArabic), "ar"},
    {verFinland, smRoman, Own(smRoman), "fi_FI"},
    {verFrSwiss, smRoman, Own(smRoman), "fr_CH"},
    {verGrSwiss, smRoman, Own(smRoman), "de_CH"},
    {verGreece, smGreek, Own(smGreek), "el_GR"},
    {verIceland, smRoman, kTextEncodingMacIcelandic, "is_IS"},
    {verMalta, smRoman, Own(smRoman), "mt_MT"},
    {verCyprus, smGreek, Own(smGreek), "el_CY"},
    {verTurkey, smRoman, kTextEncodingMacTurkish, "tr_TR"},
    {verCroatia, smRoman, kTextEncodingMacCroatian, "hr_HR"},
    {verYugoCroatian, smRoman, kTextEncodingMacCroatian, nullptr},
    {verNetherlandsComma, smRoman, Own(smRoman), nullptr},
    {verFlemishPoint, smRoman, Own(smRoman), nullptr},
    {verCanadaComma, smRoman, Own(smRoman), nullptr},
    {verCanadaPoint, smRoman, Own(smRoman), nullptr},
    {vervariantPortugal, smRoman, Own(smRoman), nullptr},
    {vervariantNorway, smRoman, Own(smRoman), nullptr},
    {vervariantDenmark, smRoman, Own(smRoman), nullptr},
    {verIndiaHindi, smDevanagari, Own(smDevanagari), "hi_IN"},
    {verPakistanUrdu, smArabic, Own(smArabic), "ur_PK"},
    {verTurkishModified, smRoman, kTextEncodingMacTurkish, nullptr},
    {verItalianSwiss, smRoman, Own(smRoman), "it_CH"},
    {verInternational, smRoman, Own(smRoman), nullptr},
    {verRomania, smRoman, kTextEncodingMacRomanian, "ro_RO"},
    {verGreekAncient, smGreek, Own(smGreek), "grc"},
    {verLithuania, smCentralEuroRoman, Own(smCentralEuroRoman), "lt_LT"},
    {verPoland, smCentralEuroRoman, Own(smCentralEuroRoman), "pl_PL"},
    {verHungary, smCentralEuroRoman, Own(smCentralEuroRoman), "hu_HU"},
    {verEstonia, smCentralEuroRoman, Own(smCentralEuroRoman), "et_EE"},
    {verLatvia, smCentralEuroRoman, Own(smCentralEuroRoman), "lv_LV"},
    {verSami, smRoman, Own(smRoman), "se_NO"},
    {verFaroeIsl, smRoman, kTextEncodingMacIcelandic, "fo_FO"},
    {verIran, smArabic, kTextEncodingMacFarsi, "fa_IR"},
    {verRussia, smCyrillic, Own(smCyrillic), "ru_RU"},
    {verIreland, smRoman, kTextEncodingMacCeltic, "ga_IE"},
    {verKorea, smKorean, Own(smKorean), "ko_KR"},
    {verChina, smSimpChinese, Own(smSimpChinese), "zh_CN"},
    {verTaiwan, smTradChinese, Own(smTradChinese), "zh_TW"},
    {verTaiwan, smTradChinese, Own(smTradChinese), "zh_HK"},
    {verTaiwan, smTradChinese, Own(smTradChinese), "zh_MO"},
    {verThailand, smThai, Own(smThai), "th_TH"},
    {verScriptGeneric, kAnyScript, 0, nullptr},
    {verCzech, smCentralEuroRoman, Own(smCentralEuroRoman), "cs_CZ"},
    {verSlovak, smCentralEuroRoman, Own(smCentralEuroRoman), "sk_SK"},
    {verEastAsiaGeneric, kAnyScript, 0, nullptr},
    {verMagyar, smCentralEuroRoman, Own(smCentralEuroRoman), nullptr},
    {verBengali, smBengali, Own(smBengali), "bn"},
    {verBelarus, smCyrillic, Own(smCyrillic), "be_BY"},
    {verUkraine, smCyrillic, kTextEncodingMacUkrainian, "uk_UA"},
    {verGreeceAlt, smGreek, Own(smGreek), nullptr},
    {verSerbian, smCyrillic, Own(smCyrillic), "sr_RS"},
    {verSlovenian, smRoman, kTextEncodingMacCroatian, "sl_SI"},
    {verMacedonian, smCyrillic, Own(smCyrillic), "mk_MK"},
    {verGermanReformed, smRoman, Own(smRoman), nullptr},
    {verBrazil, smRoman, Own(smRoman), "pt_BR"},
    {verBulgaria, smCyrillic, Own(smCyrillic), "bg_BG"},
    {verCatalonia, smRoman, Own(smRoman), "ca_ES"},
    {verMultilingual, kAnyScript, 0, nullptr},
    {verScottishGaelic, smRoman, kTextEncodingMacCeltic, "gd_GB"},
    {verManxGaelic, smRoman, kTextEncodingMacCeltic, "gv_GB"},
    {verBreton, smRoman, kTextEncodingMacCeltic, "br_FR"},
    {verNunavut, smEthiopic, kTextEncodingMacInuit, "iu_CA"},
    {verWelsh, smRoman, kTextEncodingMacCeltic, "cy_GB"},
    {verIrishGaelicScript, smRoman, kTextEncodingMacGaelic, nullptr},
    {verEngCanada, smRoman, Own(smRoman), "en_CA"},
    {verBhutan, smTibetan, Own(smTibetan), "dz_BT"},
    {verArmenian, smArmenian, Own(smArmenian), "hy_AM"},
    {verGeorgian, smGeorgian, Own(smGeorgian), "ka_GE"},
    {verSpLatinAmerica, smRoman, Own(smRoman), nullptr},
    {verTonga, smRoman, Own(smRoman), "to_TO"},
    {verFrenchUniversal, smRoman, Own(smRoman), nullptr},
    {verAustria, smRoman, Own(smRoman), "de_AT"},
    {verGujarati, smGujarati, Own(smGujarati), "gu_IN"},
    {verPunjabi, smGurmukhi, Own(smGurmukhi), "pa_IN"},
    {verIndiaUrdu, smArabic, Own(smArabic), "ur_IN"},
    {verVietnam, smVietnamese, Own(smVietnamese), "vi_VN"},
    {verFrBelgium, smRoman, Own(smRoman), "fr_BE"},
    {verUzbek, smCyrillic, Own(smCyrillic), "uz_UZ"},
    {verSingapore, smSimpChinese, Own(smSimpChinese), "zh_SG"},
    {verNynorsk, smRoman, Own(smRoman), "nn_NO"},
    {verAfrikaans, smRoman, Own(smRoman), "af_ZA"},
    {verEsperanto, smRoman, Own(smRoman), "eo"},
    {verMarathi, smDevanagari, Own(smDevanagari), "mr_IN"},
    {verTibetan, smTibetan, Own(smTibetan), "bo"},
    {verNepal, smDevanagari, Own(smDevanagari), "ne_NP"},
    {verGreenland, smRoman, Own(smRoman), "kl_GL"},
    {verIrelandEnglish, smRoman, Own(smRoman), "en_IE"},
};

}  // namespace

std::span<const RegionInfo> AllRegions() {
  return kRegions;
}

const RegionInfo* FindRegion(SInt32 region) {
  const auto* found = std::find_if(std::begin(kRegions), std::end(kRegions),
                                   [&](const RegionInfo& info) { return info.region == region; });
  return found != std::end(kRegions) ? found : nullptr;
}

bool FindLanguage(SInt32 language, LanguageInfo* info) {
  if (language >= 0 && language < static_cast<SInt32>(std::size(kLanguageScripts))) {
    info->script = kLanguageScripts[language];
  } else if (language >= kFirstLaterLanguage &&
             language <
                 kFirstLaterLanguage + static_cast<SInt32>(std::size(kLaterLanguageScripts))) {
    info->script = kLaterLanguageScripts[language - kFirstLaterLanguage];
  } else {
    return false;
  }
  info->language = static_cast<LangCode>(language);
  info->encoding = Own(info->script);
  for (const OwnEncoding& own : kLanguageEncodings) {
    if (own.language == language) info->encoding = own.encoding;
  }
  return true;
}

RegionCode RegionOfLocale(const char* locale) {
  std::string_view name = locale;
  name = name.substr(0, name.find_first_of(".@"));
  const std::string_view language = name.substr(0, name.find('_'));
  for (const RegionInfo& info : kRegions) {
    if (info.locale != nullptr && name == info.locale) return info.region;
  }
  if (language == "es" && name != language) return verSpLatinAmerica;
  for (const RegionInfo& info : kRegions) {
    if (info.locale == nullptr) continue;
    const std::string_view known = info.locale;
    if (known.substr(0, known.find('_')) == language) return info.region;
  }
  return verUS;
}

}  // namespace lumivane::text
