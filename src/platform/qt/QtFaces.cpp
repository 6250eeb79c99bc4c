#include "platform/qt/QtFaces.h"

#include <QFontDatabase>

#include "base/Text.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

constexpr const char* SANS = "Liberation Sans";
constexpr const char* SERIF = "Liberation Serif";
constexpr const char* FIXED = "Liberation Mono";
// Stands for whichever face of wide characters is installed.
constexpr const char* WIDE = "";

// Faces with Chinese, Japanese and Korean characters, the best first.
constexpr const char* wideFaces[] = {"WenQuanYi Micro Hei", "Noto Sans CJK SC", "Source Han Sans SC",
                                     "WenQuanYi Zen Hei", "Droid Sans Fallback"};

struct FaceRow {
    WideView name;
    const char* face;
};
// Faces of other systems, and the free ones whose characters are as wide.
constexpr FaceRow faceRows[] = {
    {u"Calibri", "Carlito"},
    {u"Cambria", "Caladea"},
    {u"Arial", SANS},
    {u"Helvetica", SANS},
    {u"Helv", SANS},
    {u"MS Sans Serif", SANS},
    {u"Times New Roman", SERIF},
    {u"Times", SERIF},
    {u"Tms Rmn", SERIF},
    {u"Courier New", FIXED},
    {u"Courier", FIXED},
    {u"SimSun", WIDE},
    {u"宋体", WIDE},
    {u"NSimSun", WIDE},
    {u"新宋体", WIDE},
    {u"SimHei", WIDE},
    {u"黑体", WIDE},
    {u"KaiTi", WIDE},
    {u"KaiTi_GB2312", WIDE},
    {u"楷体", WIDE},
    {u"楷体_GB2312", WIDE},
    {u"FangSong", WIDE},
    {u"FangSong_GB2312", WIDE},
    {u"仿宋", WIDE},
    {u"仿宋_GB2312", WIDE},
    {u"Microsoft YaHei", WIDE},
    {u"微软雅黑", WIDE},
    {u"DengXian", WIDE},
    {u"等线", WIDE},
    {u"MingLiU", WIDE},
    {u"細明體", WIDE},
    {u"PMingLiU", WIDE},
    {u"新細明體", WIDE},
    {u"DFKai-SB", WIDE},
    {u"標楷體", WIDE},
    {u"Microsoft JhengHei", WIDE},
    {u"微軟正黑體", WIDE},
    {u"MS Gothic", WIDE},
    {u"ＭＳ ゴシック", WIDE},
    {u"MS PGothic", WIDE},
    {u"ＭＳ Ｐゴシック", WIDE},
    {u"MS Mincho", WIDE},
    {u"ＭＳ 明朝", WIDE},
    {u"MS PMincho", WIDE},
    {u"ＭＳ Ｐ明朝", WIDE},
    {u"Meiryo", WIDE},
    {u"メイリオ", WIDE},
    {u"Yu Gothic", WIDE},
    {u"游ゴシック", WIDE},
    {u"Gulim", WIDE},
    {u"굴림", WIDE},
    {u"GulimChe", WIDE},
    {u"굴림체", WIDE},
    {u"Dotum", WIDE},
    {u"돋움", WIDE},
    {u"DotumChe", WIDE},
    {u"돋움체", WIDE},
    {u"Batang", WIDE},
    {u"바탕", WIDE},
    {u"BatangChe", WIDE},
    {u"바탕체", WIDE},
    {u"Malgun Gothic", WIDE},
    {u"맑은 고딕", WIDE},
};

// Words in a name that tell the family of a face that no row names.
struct FamilyWord {
    const char* word;
    const char* face;
};
constexpr FamilyWord familyWords[] = {
    {"Mono", FIXED},       {"Courier", FIXED},  {"Console", FIXED}, {"Consolas", FIXED},
    {"Typewriter", FIXED}, {"Sans", SANS},      {"Serif", SERIF},   {"Roman", SERIF},
    {"Times", SERIF},      {"Garamond", SERIF}, {"Georgia", SERIF}, {"Book Antiqua", SERIF},
    {"Palatino", SERIF},   {"Century", SERIF},  {"Bodoni", SERIF},
};

bool IsInstalled(const QString& face) { return QFontDatabase::hasFamily(face); }

QString WideFace() {
    for (const char* face : wideFaces)
        if (const QString name = QString::fromLatin1(face); IsInstalled(name)) return name;
    return {};
}

const char* FamilyFace(const QString& name) {
    for (const FamilyWord& row : familyWords)
        if (name.contains(QLatin1String(row.word), Qt::CaseInsensitive)) return row.face;
    return SANS;
}

void AddInstalled(QStringList& faces, const QString& face) {
    if (!face.isEmpty() && !faces.contains(face, Qt::CaseInsensitive) && IsInstalled(face)) faces.append(face);
}

}  // namespace

QString CompatibleFace(WideView faceName) {
    // "@" asks for characters that lie on their side.
    if (!faceName.empty() && faceName.front() == u'@') faceName.remove_prefix(1);
    for (const FaceRow& row : faceRows) {
        if (!EqualIgnoringCase(row.name, faceName)) continue;
        return *row.face ? QString::fromLatin1(row.face) : WideFace();
    }
    return {};
}

QStringList FacesFor(WideView faceName) {
    const QString name = ToQString(faceName);
    QStringList faces;
    AddInstalled(faces, name);
    AddInstalled(faces, CompatibleFace(faceName));
    AddInstalled(faces, QString::fromLatin1(FamilyFace(name)));
    AddInstalled(faces, WideFace());
    if (faces.isEmpty()) faces.append(name);
    return faces;
}

}  // namespace tally
