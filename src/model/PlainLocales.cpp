#include "model/DayKeys.h"

#include <string>

namespace {

/// Languages with all of their locales, and single locales of others.
constexpr std::string_view plainLocales
    = " af agq ak am ar_AE ar_DZ ar_EH ar_LY ar_MA ar_TN asa ast az bas be bem bez bg bm bo br brx bs ca"
      " ce ceb cgg chr cs cv cy da dav de dje doi dsb dua dyo ebu ee el en eo es et eu ewo ff fi fil fo fr"
      " fur fy ga gd gl gsw gu guz gv ha haw he hi hr hsb hu hy ia id ig ii is it ja jgo jmc jv ka kab kam"
      " kde kea kgp khq ki kk kkj kl kln km kn ko kok ks_Deva ksb ksf ksh ku kw ky lag lb lg lkt ln lo lt"
      " lu luo luy lv mai mas mer mfe mg mgh mgo mi mk ml mn ms mt mua naq nb nd nl nmg nn nnh no nus nyn"
      " om or os pa pcm pl pt qu rm rn ro rof ru rw rwk sah saq sbp sc sd_Deva se seh ses sg shi si sk sl"
      " smn sn so sq sr su sv sw ta te teo tg ti tk to tr tt twq tzm ug uk ur uz vai vi vun wae wo xh xog"
      " yav yi yo yrl yue zgh zh zu ";

/// What is different in locales of those languages.
constexpr std::string_view otherDigits = " ff_Adlm pa_Arab pa_PK ur_IN uz_Arab ";

/// Whatever the language: Afghanistan and Iran have the Persian calendar, Saudi Arabia the Islamic one, and
/// Thailand the Buddhist one.
constexpr std::string_view otherCalendars = " AF IR SA TH ";

bool holds(std::string_view words, std::string_view word)
{
    return words.find(' ' + std::string(word) + ' ') != std::string_view::npos;
}

}

bool isPlainLocale(std::string_view locale)
{
    if (holds(otherCalendars, locale.substr(locale.rfind('_') + 1)))
        return false;

    // What is said of a locale goes before what is said of its language.
    for (;;) {
        if (holds(otherDigits, locale))
            return false;
        if (holds(plainLocales, locale))
            return true;
        const auto end = locale.rfind('_');
        if (end == std::string_view::npos)
            return false;
        locale = locale.substr(0, end);
    }
}
