// The fuzzer of everything that reads files or foreign talk, and of the writers: QM_FUZZ_TARGET=query quillmark-fuzz CORPUS...
// Without a target it lists them. scripts/fuzz.sh runs them all.

#include "fuzz/Fuzz.h"

#include "core/RuntimeError.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>

namespace qm::fuzz {

namespace {

Target target;

} // namespace

QString scratch(const char *name)
{
    static const QTemporaryDir folder;
    PROMISE(folder.isValid());
    (void)QDir().mkpath(folder.filePath(QStringLiteral("Config")));
    return folder.filePath(QStringLiteral("Config/") + QString::fromLatin1(name));
}

QString put(const char *name, const QByteArray &bytes)
{
    const QString path = scratch(name);
    QFile file(path);
    PROMISE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    return path;
}

} // namespace qm::fuzz

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    using namespace qm::fuzz;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static const QGuiApplication application(*argc, *argv); // the help's pages are laid out as documents
    Targets all;
    for (Targets some : {configurationTargets(), importTargets(), engineTargets(), deliveryTargets(), reportTargets()})
        all.merge(some);
    const char *name = std::getenv("QM_FUZZ_TARGET");
    if (name == nullptr) {
        for (const auto &[known, run] : all)
            std::cout << known << '\n';
        std::exit(0);
    }
    if (!all.contains(name)) {
        std::cerr << "quillmark-fuzz: there is no target \"" << name << "\"\n";
        std::exit(2);
    }
    target = all.at(name);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    try {
        qm::fuzz::target(QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)));
    } catch (const qm::RuntimeError &error) {
        PROMISE(!error.description().isEmpty()); // a refusal says why
    }
    return 0;
}
