#include "platform/posix/Regions.h"

#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "base/Number.h"
#include "base/Text.h"

namespace tally {
namespace {

constexpr WideView englishDays = u"Monday|Tuesday|Wednesday|Thursday|Friday|Saturday|Sunday|";
constexpr WideView englishDaysShort = u"Mon|Tue|Wed|Thu|Fri|Sat|Sun|";
constexpr WideView englishMonths =
    u"January|February|March|April|May|June|July|August|September|October|November|December|";
constexpr WideView englishMonthsShort = u"Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec|";
constexpr WideView chineseMonths = u"一月|二月|三月|四月|五月|六月|七月|八月|九月|十月|十一月|十二月|";
constexpr WideView numberedMonths = u"1月|2月|3月|4月|5月|6月|7月|8月|9月|10月|11月|12月|";

const Region regions[] = {
    {"en-US", 1252, u".", u",", u",", u"$", 2, 0, u"/", u":", u"M/d/yyyy", 0, false, u"AM", u"PM", englishDays,
     englishDaysShort, englishMonths, englishMonthsShort},
    {"en-GB", 1252, u".", u",", u",", u"£", 2, 1, u"/", u":", u"dd/MM/yyyy", 1, true, u"AM", u"PM", englishDays,
     englishDaysShort, englishMonths, englishMonthsShort},
    {"zh-CN", 936, u".", u",", u",", u"¥", 2, 2, u"/", u":", u"yyyy/M/d", 2, false, u"上午", u"下午",
     u"星期一|星期二|星期三|星期四|星期五|星期六|星期日|", u"周一|周二|周三|周四|周五|周六|周日|",
     chineseMonths, numberedMonths},
    {"zh-TW", 950, u".", u",", u",", u"NT$", 2, 1, u"/", u":", u"yyyy/M/d", 2, true, u"上午", u"下午",
     u"星期一|星期二|星期三|星期四|星期五|星期六|星期日|", u"週一|週二|週三|週四|週五|週六|週日|",
     numberedMonths, numberedMonths},
    {"ja-JP", 932, u".", u",", u",", u"¥", 0, 1, u"/", u":", u"yyyy/MM/dd", 2, false, u"午前", u"午後",
     u"月曜日|火曜日|水曜日|木曜日|金曜日|土曜日|日曜日|", u"月|火|水|木|金|土|日|", numberedMonths,
     numberedMonths},
    {"ko-KR", 949, u".", u",", u",", u"₩", 0, 1, u"-", u":", u"yyyy-MM-dd", 2, false, u"오전", u"오후",
     u"월요일|화요일|수요일|목요일|금요일|토요일|일요일|", u"월|화|수|목|금|토|일|",
     u"1월|2월|3월|4월|5월|6월|7월|8월|9월|10월|11월|12월|",
     u"1월|2월|3월|4월|5월|6월|7월|8월|9월|10월|11월|12월|"},
    {"de-DE", 1252, u",", u".", u";", u"€", 2, 8, u".", u":", u"dd.MM.yyyy", 1, true, u"", u"",
     u"Montag|Dienstag|Mittwoch|Donnerstag|Freitag|Samstag|Sonntag|", u"Mo|Di|Mi|Do|Fr|Sa|So|",
     u"Januar|Februar|März|April|Mai|Juni|Juli|August|September|Oktober|November|Dezember|",
     u"Jan|Feb|Mrz|Apr|Mai|Jun|Jul|Aug|Sep|Okt|Nov|Dez|"},
    {"fr-FR", 1252, u",", u"\u00A0", u";", u"€", 2, 8, u"/", u":", u"dd/MM/yyyy", 1, true, u"", u"",
     u"lundi|mardi|mercredi|jeudi|vendredi|samedi|dimanche|", u"lun.|mar.|mer.|jeu.|ven.|sam.|dim.|",
     u"janvier|février|mars|avril|mai|juin|juillet|août|septembre|octobre|novembre|décembre|",
     u"janv.|févr.|mars|avr.|mai|juin|juil.|août|sept.|oct.|nov.|déc.|"},
    {"es-ES", 1252, u",", u".", u";", u"€", 2, 8, u"/", u":", u"dd/MM/yyyy", 1, false, u"", u"",
     u"lunes|martes|miércoles|jueves|viernes|sábado|domingo|", u"lu.|ma.|mi.|ju.|vi.|sá.|do.|",
     u"enero|febrero|marzo|abril|mayo|junio|julio|agosto|septiembre|octubre|noviembre|diciembre|",
     u"ene.|feb.|mar.|abr.|may.|jun.|jul.|ago.|sep.|oct.|nov.|dic.|"},
    {"it-IT", 1252, u",", u".", u";", u"€", 2, 8, u"/", u":", u"dd/MM/yyyy", 1, true, u"", u"",
     u"lunedì|martedì|mercoledì|giovedì|venerdì|sabato|domenica|", u"lun|mar|mer|gio|ven|sab|dom|",
     u"gennaio|febbraio|marzo|aprile|maggio|giugno|luglio|agosto|settembre|ottobre|novembre|dicembre|",
     u"gen|feb|mar|apr|mag|giu|lug|ago|set|ott|nov|dic|"},
    {"nl-NL", 1252, u",", u".", u";", u"€", 2, 12, u"-", u":", u"d-M-yyyy", 1, true, u"", u"",
     u"maandag|dinsdag|woensdag|donderdag|vrijdag|zaterdag|zondag|", u"ma|di|wo|do|vr|za|zo|",
     u"januari|februari|maart|april|mei|juni|juli|augustus|september|oktober|november|december|",
     u"jan|feb|mrt|apr|mei|jun|jul|aug|sep|okt|nov|dec|"},
    {"pt-BR", 1252, u",", u".", u";", u"R$", 2, 9, u"/", u":", u"dd/MM/yyyy", 1, true, u"", u"",
     u"segunda-feira|terça-feira|quarta-feira|quinta-feira|sexta-feira|sábado|domingo|",
     u"seg|ter|qua|qui|sex|sáb|dom|",
     u"janeiro|fevereiro|março|abril|maio|junho|julho|agosto|setembro|outubro|novembro|dezembro|",
     u"jan|fev|mar|abr|mai|jun|jul|ago|set|out|nov|dez|"},
    {"ru-RU", 1251, u",", u"\u00A0", u";", u"₽", 2, 8, u".", u":", u"dd.MM.yyyy", 1, false, u"", u"",
     u"понедельник|вторник|среда|четверг|пятница|суббота|воскресенье|", u"Пн|Вт|Ср|Чт|Пт|Сб|Вс|",
     u"Январь|Февраль|Март|Апрель|Май|Июнь|Июль|Август|Сентябрь|Октябрь|Ноябрь|Декабрь|",
     u"янв|фев|мар|апр|май|июн|июл|авг|сен|окт|ноя|дек|"},
    {"pl-PL", 1250, u",", u"\u00A0", u";", u"zł", 2, 8, u".", u":", u"dd.MM.yyyy", 1, true, u"", u"",
     u"poniedziałek|wtorek|środa|czwartek|piątek|sobota|niedziela|", u"pon.|wt.|śr.|czw.|pt.|sob.|niedz.|",
     u"styczeń|luty|marzec|kwiecień|maj|czerwiec|lipiec|sierpień|wrzesień|październik|listopad|grudzień|",
     u"sty|lut|mar|kwi|maj|cze|lip|sie|wrz|paź|lis|gru|"},
    {"sv-SE", 1252, u",", u"\u00A0", u";", u"kr", 2, 8, u"-", u":", u"yyyy-MM-dd", 2, true, u"", u"",
     u"måndag|tisdag|onsdag|torsdag|fredag|lördag|söndag|", u"må|ti|on|to|fr|lö|sö|",
     u"januari|februari|mars|april|maj|juni|juli|augusti|september|oktober|november|december|",
     u"jan|feb|mar|apr|maj|jun|jul|aug|sep|okt|nov|dec|"},
};

// The `index`-th element of a list whose elements end with "|".
WideView ListElement(WideView list, i32 index) {
    while (index-- > 0) list.remove_prefix(list.find(u'|') + 1);
    return list.substr(0, list.find(u'|'));
}

struct NamedItems {
    i32 first;
    i32 count;
    WideView Region::*list;
};
constexpr NamedItems namedItems[] = {
    {LOCALE_SDAYNAME1, 7, &Region::dayNames},
    {LOCALE_SABBREVDAYNAME1, 7, &Region::dayShort},
    {LOCALE_SMONTHNAME1, 12, &Region::monthNames},
    {LOCALE_SABBREVMONTHNAME1, 12, &Region::monthShort},
};

struct TextItem {
    i32 item;
    WideView Region::*text;
};
constexpr TextItem textItems[] = {
    {LOCALE_SLIST, &Region::list},
    {LOCALE_SDECIMAL, &Region::decimal},
    {LOCALE_STHOUSAND, &Region::thousands},
    {LOCALE_SCURRENCY, &Region::currency},
    {LOCALE_SDATE, &Region::dateSeparator},
    {LOCALE_STIME, &Region::timeSeparator},
    {LOCALE_SSHORTDATE, &Region::shortDate},
    {LOCALE_S1159, &Region::am},
    {LOCALE_S2359, &Region::pm},
};

// The text of the first of these variables of the environment that has one; empty without any.
const char* FirstVariable(std::initializer_list<const char*> names) {
    for (const char* name : names) {
        const char* text = std::getenv(name);
        if (text && *text) return text;
    }
    return "";
}

}  // namespace

Language LanguageFromEnvironment() {
    const std::string_view own = FirstVariable({"TALLYMAN_LANGUAGE"});
    if (own == "zh") return LANGUAGE_CHINESE;
    if (own == "en") return LANGUAGE_ENGLISH;
    const std::string_view session = FirstVariable({"LC_ALL", "LC_MESSAGES", "LANG"});
    const std::string_view language = session.substr(0, session.find_first_of("_-.@"));
    return language == "zh" ? LANGUAGE_CHINESE : LANGUAGE_ENGLISH;
}

const Region& FindRegion(std::string_view tag, bool* exact) {
    if (exact) *exact = true;
    for (const Region& region : regions) {
        if (tag == region.tag) return region;
    }
    const std::string_view language = tag.substr(0, tag.find('-'));
    for (const Region& region : regions) {
        const std::string_view known = region.tag;
        if (!language.empty() && known.substr(0, known.find('-')) == language) return region;
    }
    if (exact) *exact = false;
    return regions[0];
}

void RegionTagFromEnvironment(char (&tag)[36]) {
    const char* found = FirstVariable({"LC_ALL", "LC_NUMERIC", "LANG"});
    std::size_t length = 0;
    for (; length < 35 && found[length] && found[length] != '.' && found[length] != '@'; ++length) {
        tag[length] = found[length] == '_' ? '-' : found[length];
    }
    tag[length] = 0;
    if (!length || !std::strcmp(tag, "C") || !std::strcmp(tag, "POSIX")) std::memcpy(tag, "en-US", 6);
}

bool RegionItem(const Region& region, i32 item, WideText& out) {
    out.Truncate(0);
    for (const TextItem& row : textItems) {
        if (row.item == item) return out.Assign(region.*row.text);
    }
    for (const NamedItems& row : namedItems) {
        if (item >= row.first && item < row.first + row.count) {
            return out.Assign(ListElement(region.*row.list, item - row.first));
        }
    }
    switch (item) {
        case LOCALE_ICURRDIGITS: return AppendInteger(out, region.currencyDigits);
        case LOCALE_INEGCURR: return AppendInteger(out, region.negativeCurrency);
        case LOCALE_IDATE: return AppendInteger(out, region.dateOrder);
        case LOCALE_ITLZERO: return AppendInteger(out, region.timeLeadingZero ? 1 : 0);
        default: return false;
    }
}

}  // namespace tally
