#include "GeneratedDocument.h"

#include <sstream>

namespace {

// The pieces a document is made of, grouped by what they exercise; each group
// is drawn as often as its weight says.
struct PieceGroup {
    int weight;
    std::vector<std::string> pieces;
};

const std::vector<PieceGroup> kPieceGroups = {
    // Tags of every shape, unterminated and joined ones.
    {6,
     {"<b>", "</b>", "<i>", "<B>", "<a href=\"http://x.y/z\">", "</a>", "<td class=a>", "<x y>",
      "<", ">", "<<b>", "<b>>", "<a<b>", "< >", "<>", "<a <b>c>", "<b", "b>", "</"}},
    // Line tags that become line breaks when stripping to text.
    {1, {"<p>", "</P>", "<br>", "<BR>", "<Tr>", "</tr>", "<P>x</p>"}},
    // Scripts, whole and in parts.
    {2,
     {"<script>", "</script>", "<SCRIPT src=a.js>", "script>", "SCRIPT>", "<scr", "ipt>", "<script",
      "<Script type=x>a<b</script>", "sc", "ript"}},
    // Comments and declarations.
    {2, {"<!--", "-->", "<!-- c -->", "<!DOCTYPE html>", "<!", "->", "-", "!", "<!->"}},
    // A closing mark right in front of an opening one: the removal loops for ever.
    {0, {"SCRIPT><SCRIPT", "-><!"}},
    // Entities and the words they leave, also inside other words.
    {4,
     {"&amp;", "&nbsp;", "&quot;", "&", ";", ",", "amp", "nbsp", "quot", "example", "quotation",
      "sample", "nbspx", "qu", "ot"}},
    // Addresses alone and touching punctuation and mark-up; markers alone.
    {6,
     {"a@b.c", "x@y", "@", "://", "http://a.b/c", "HTTP://A", "mailto:m@n.o", "<a@b>", "(a@b.c),",
      ":", "/", "=", "a@b@c", "see@", "@end", "ftp://f", ":/", "//", "href=mailto:a@b.c>"}},
    // Keyword names and words to take after them.
    {4, {" Name: ", "Name:", "NAME:", " Phone: ", "k", "K", "kk", "ab", "abab", "b"}},
    // Control characters and runs of spaces.
    {4, {" ", "  ", "    ", "\r\n", "\t", "\n", "\r", "\b", "\x7f", "\f", "\r\n\r\n\t "}},
    // Ordinary words.
    {6, {"ann", "bob", "12", "w", "x", "Total", "price", "a", "aa"}},
    // Long runs without a space: addresses past the 199-character cap.
    {1,
     {std::string(120, 'w'), "a@" + std::string(230, 'd'), "http://" + std::string(240, 'u'),
      std::string(210, 'l') + "@x", "a@b@c@d@e@f@g@h@i@j@k@l@m@n@o@p"}},
};

const std::vector<std::string> kKeywordNames = {" Name: ", "Name:", " Phone: ", "k",  "K",
                                                "ab",      " x ",   "b",        "a@", "://",
                                                "  ",      "",      "bob",      "e ", " ann"};
const std::vector<std::string> kPositions = {"1", "1, 2", "2",     "1, 3, 5", "0",
                                             "x", "2, 1", "1, 70", "-3",      "1,2,3,4,5,6,7,8",
                                             "",  "3",    "40000"};

class Dice {
public:
    explicit Dice(uint32_t seed) : engine_(seed) {}
    size_t below(size_t n) { return static_cast<size_t>(engine_() % n); }
    bool chance(int percent) { return below(100) < static_cast<size_t>(percent); }
    template <class T>
    const T& pick(const std::vector<T>& from) {
        return from[below(from.size())];
    }

private:
    std::mt19937 engine_;
};

const PieceGroup& PickGroup(Dice& dice) {
    if (dice.chance(1)) {
        return kPieceGroups[4];  // the rare endless pieces
    }
    int total = 0;
    for (const PieceGroup& g : kPieceGroups) {
        total += g.weight;
    }
    int roll = static_cast<int>(dice.below(static_cast<size_t>(total)));
    for (const PieceGroup& g : kPieceGroups) {
        if (roll < g.weight) {
            return g;
        }
        roll -= g.weight;
    }
    return kPieceGroups.front();
}

// Dense mark-up from a few characters: tags inside tags, marks split and
// joined by removals, blocks that end before they begin.
std::string MakeMarkupStorm(Dice& dice) {
    static const std::vector<std::string> kAlphabets = {"<> ab", "<>!- ab", "<>sScCrRiIpPtT ",
                                                        "<>!-sScriptT a", "<<>>a b!-"};
    static const std::vector<std::string> kWords = {"<script>", "SCRIPT>", "<!--", "-->",
                                                    "<b>",      "<a <b>",  "->",   "<!"};
    const std::string& alphabet = dice.pick(kAlphabets);
    std::string text;
    for (size_t i = dice.below(dice.chance(30) ? 200 : 40); i > 0; --i) {
        if (dice.chance(12)) {
            text += dice.pick(kWords);
        } else {
            text += alphabet[dice.below(alphabet.size())];
        }
    }
    return text;
}

std::string MakeText(Dice& dice) {
    if (dice.chance(20)) {
        return MakeMarkupStorm(dice);
    }
    const size_t pieces = dice.chance(8) ? 150 + dice.below(250) : dice.below(60);
    std::string text;
    for (size_t i = 0; i < pieces; ++i) {
        if (dice.chance(3)) {
            text += static_cast<char>(dice.below(256));
            continue;
        }
        text += dice.pick(PickGroup(dice).pieces);
        if (dice.chance(40)) {
            text += ' ';
        }
    }
    return text;
}

}  // namespace

GeneratedRun GenerateRun(uint32_t seed) {
    Dice dice(seed);
    GeneratedRun run;
    run.seed = seed;
    run.text = MakeText(dice);
    run.chkStrip = dice.chance(25);
    const size_t keywordCount = dice.chance(30) ? 0 : 1 + dice.below(4);
    for (size_t i = 0; i < keywordCount; ++i) {
        run.keywords.add(dice.pick(kKeywordNames), dice.pick(kPositions));
    }
    if (dice.chance(20)) {
        for (size_t i = dice.below(4); i > 0; --i) {
            run.arrKeyNames.push_back(dice.pick(kKeywordNames));
        }
    }
    const size_t kind = dice.below(10);
    run.record = kind < 5   ? GeneratedRun::Record::File
                 : kind < 8 ? GeneratedRun::Record::Keyword
                            : GeneratedRun::Record::Scanners;
    bool mailto = false;
    if (run.record != GeneratedRun::Record::Keyword || dice.chance(20)) {
        for (const char* column : {"Email", "WebSite", "MailTo"}) {
            if (dice.chance(50)) {
                run.columns.push_back(column);
                mailto = mailto || std::string(column) == "MailTo";
            }
        }
    }
    if (!run.keywords.empty() && (run.record == GeneratedRun::Record::Keyword || dice.chance(40))) {
        run.intUseKeyword = 1;
        for (const KeywordRecord& k : run.keywords.records()) {
            run.columns.push_back(k.Name);
        }
    }
    run.chkFileName = dice.chance(60);
    run.chkTime = dice.chance(60);
    if (run.chkFileName) {
        run.columns.push_back("FileName");
    }
    if (run.chkTime) {
        run.columns.push_back("ProcessTime");
    }
    run.strip = !mailto || dice.chance(30);
    if (run.record == GeneratedRun::Record::Scanners) {
        for (size_t i = 1 + dice.below(12); i > 0; --i) {
            run.calls.push_back(static_cast<int>(dice.below(run.keywords.empty() ? 3 : 5)));
        }
    }
    if (dice.chance(25)) {
        run.cancelAt = 1 + static_cast<long>(dice.below(dice.chance(50) ? 8 : 80));
    }
    return run;
}

std::string GeneratedRun::describe() const {
    std::ostringstream out;
    out << "seed " << seed << ", record "
        << (record == Record::File      ? "File"
            : record == Record::Keyword ? "Keyword"
                                        : "Scanners")
        << (strip ? ", StripTags" : "") << (chkStrip ? ", chkStrip" : "")
        << (chkFileName ? ", chkFileName" : "") << (chkTime ? ", chkTime" : "")
        << ", intUseKeyword " << intUseKeyword << ", cancel at " << cancelAt << "\ncolumns:";
    for (const std::string& c : columns) {
        out << " [" << c << "]";
    }
    out << "\nkeywords:";
    for (const KeywordRecord& k : keywords.records()) {
        out << " [" << k.Name << "|" << k.Position << "]";
    }
    out << "\narrKeyNames:";
    for (const std::string& n : arrKeyNames) {
        out << " [" << n << "]";
    }
    out << "\ncalls:";
    for (int c : calls) {
        out << ' ' << c;
    }
    out << "\ntext: \"";
    for (unsigned char c : text) {
        if (c == '\\' || c == '"') {
            out << '\\' << c;
        } else if (c >= 32 && c < 127) {
            out << c;
        } else {
            out << "\\x"
                << "0123456789abcdef"[c >> 4] << "0123456789abcdef"[c & 15];
        }
    }
    out << '"';
    return out.str();
}
