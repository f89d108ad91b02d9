#include "CommandLine.h"

#include "Idea.h"
#include "Vocabulary.h"

#include <QCommandLineParser>

namespace {

CommandLine invalid(const QString &arabic, const QString &english)
{
    CommandLine line;
    line.action = CommandLine::Action::invalid;
    line.error = arabic + u'\n' + english;
    return line;
}

} // namespace

CommandLine CommandLine::parse(const QStringList &arguments, Origin origin)
{
    QCommandLineParser parser;
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")});
    const QCommandLineOption version(QStringList{QStringLiteral("v"), QStringLiteral("version")});
    const QCommandLineOption background(QStringLiteral("background"));
    const QCommandLineOption capture(QStringLiteral("capture"));
    const QCommandLineOption add(QStringLiteral("add"), QString(), QStringLiteral("text"));
    const QCommandLineOption category(QStringLiteral("category"), QString(), QStringLiteral("category"));
    const QCommandLineOption syncSetup(QStringLiteral("sync-setup"), QString(), QStringLiteral("url"));
    const QCommandLineOption list(QStringLiteral("list"), QString(), QStringLiteral("name"));
    const QCommandLineOption sync(QStringLiteral("sync"));
    const QCommandLineOption syncOff(QStringLiteral("sync-off"));
    parser.addOptions({help, version, background, capture, add, category, syncSetup, list, sync, syncOff});
    // Not for people: only a later launch passes it on, so only a hand-over knows it.
    const QCommandLineOption activationToken(QStringLiteral("activation-token"), QString(), QStringLiteral("token"));
    if (origin == Origin::handOver)
        parser.addOption(activationToken);
    if (!parser.parse(arguments))
        return invalid(QStringLiteral("ما فهمت الأمر: %1").arg(parser.errorText()), parser.errorText());
    // --sync-setup takes the user name after the address.
    const qsizetype positional = parser.isSet(syncSetup) ? 1 : 0;
    if (parser.isSet(syncSetup) && parser.positionalArguments().isEmpty())
        return invalid(QStringLiteral("ناقص اسم المستخدم: fikranest --sync-setup العنوان المستخدم"),
                       QStringLiteral("the user name is missing: fikranest --sync-setup URL USER"));
    if (parser.positionalArguments().size() > positional) {
        const QString extra = parser.positionalArguments().at(positional);
        return invalid(QStringLiteral("ما فهمت \"%1\"، النص يجي بعد --add").arg(extra),
                       QStringLiteral("unexpected argument \"%1\"; the text goes after --add").arg(extra));
    }

    CommandLine line;
    if (origin == Origin::handOver)
        line.activationToken = parser.value(activationToken);
    if (parser.isSet(help)) {
        line.action = Action::help;
        return line;
    }
    if (parser.isSet(version)) {
        line.action = Action::version;
        return line;
    }
    const int requests = int(parser.isSet(background)) + int(parser.isSet(capture)) + int(parser.isSet(add))
        + int(parser.isSet(syncSetup)) + int(parser.isSet(sync)) + int(parser.isSet(syncOff));
    if (requests > 1)
        return invalid(QStringLiteral("اختار وحدة بس من --background و --capture و --add و --sync-setup و --sync و --sync-off"),
                       QStringLiteral("use only one of --background, --capture, --add, --sync-setup, --sync and --sync-off"));
    if (parser.isSet(list) && !parser.isSet(syncSetup))
        return invalid(QStringLiteral("--list تمشي بس مع --sync-setup"), QStringLiteral("--list goes with --sync-setup only"));
    if (parser.isSet(category) && !parser.isSet(add))
        return invalid(QStringLiteral("--category تمشي بس مع --add"), QStringLiteral("--category goes with --add only"));

    if (parser.isSet(add)) {
        line.action = Action::add;
        line.text = Idea::trimmedTitle(parser.value(add));
        line.category = parser.isSet(category) ? parser.value(category) : Vocabulary::defaultCategory();
        if (line.text.isEmpty())
            return invalid(QStringLiteral("الفكرة فاضية! اكتب شي بعد --add"),
                           QStringLiteral("the idea is empty: write something after --add"));
        if (!Vocabulary::categories().contains(line.category))
            return invalid(QStringLiteral("ما نعرف النوع \"%1\"، اختار: %2")
                               .arg(line.category, Vocabulary::categories().join(QStringLiteral("، "))),
                           QStringLiteral("unknown category \"%1\"; use one of: %2")
                               .arg(line.category, Vocabulary::categories().join(QStringLiteral(", "))));
    } else if (parser.isSet(syncSetup)) {
        line.action = Action::syncSetup;
        line.server = parser.value(syncSetup).trimmed();
        line.user = parser.positionalArguments().constFirst();
        line.listName = parser.isSet(list) ? parser.value(list).trimmed() : QStringLiteral("الفكرون");
    } else if (parser.isSet(sync)) {
        line.action = Action::sync;
    } else if (parser.isSet(syncOff)) {
        line.action = Action::syncOff;
    } else if (parser.isSet(capture)) {
        line.action = Action::capture;
    } else if (parser.isSet(background)) {
        line.action = Action::background;
    }
    return line;
}

QString CommandLine::activationTokenArgument(const QString &token)
{
    return QStringLiteral("--activation-token=") + token;
}

QString CommandLine::helpText()
{
    return QStringLiteral(
        "الفكرون: كب فكرتك قبل لا تطير 💡\n"
        "\n"
        "الاستخدام: fikranest [خيار]\n"
        "  بدون خيار             يفتح النافذة\n"
        "  --background          يشتغل في الشريط بس، عشان توصلك التذكيرات\n"
        "  --capture             يفتح خانة الفكرة الجديدة على طول\n"
        "  --add \"نص\"            يحفظ فكرة ويطلع بدون ما يفتح شي\n"
        "  --category النوع       مع --add: فكرة أو مهمة أو ملاحظة (فكرة إذا ما حددت)\n"
        "  --sync-setup العنوان المستخدم [--list الاسم]\n"
        "                        يربط المزامنة مع سيرفر CalDAV؛ كلمة السر تنقرا من المدخل (سطر واحد)\n"
        "                        والقائمة بهالاسم تنسوى إذا ما كانت موجودة (الفكرون إذا ما حددت)\n"
        "  --sync                يزامن الحين ويقول وش تحرك\n"
        "  --sync-off            يفصل المزامنة؛ أفكارك تبقى في جهازك\n"
        "  -h, --help            هالشرح\n"
        "  -v, --version         الإصدار\n"
        "\n"
        "Fikranest: dump ideas, tasks and notes before they are forgotten.\n"
        "\n"
        "Usage: fikranest [option]\n"
        "  (no option)           open the window\n"
        "  --background          stay in the tray only, so reminders arrive\n"
        "  --capture             open the new-idea sheet straight away\n"
        "  --add \"text\"          store one idea and exit, opening nothing\n"
        "  --category CATEGORY   with --add: فكرة (idea, the default), مهمة (task) or ملاحظة (note)\n"
        "  --sync-setup URL USER [--list NAME]\n"
        "                        connect sync to a CalDAV server; the password is read from standard\n"
        "                        input (one line); the task list of that name is made if missing\n"
        "                        (الفكرون when no name is given)\n"
        "  --sync                sync now and print one line of what moved\n"
        "  --sync-off            disconnect sync; your ideas stay on this machine\n"
        "  -h, --help            this help\n"
        "  -v, --version         the version\n"
        "\n"
        "A running Fikranest takes these from a later launch; only one runs per user.\n");
}

QString CommandLine::versionText()
{
    return QStringLiteral("الفكرون (Fikranest) %1\n").arg(QStringLiteral(FIKRANEST_VERSION));
}
