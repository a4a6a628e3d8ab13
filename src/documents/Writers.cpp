#include "documents/Writers.h"

#include "core/RuntimeError.h"

namespace qm {

std::unique_ptr<ReportWriter> makeWriter(ReportFormat format, OutputFile &file, const WriterOptions &options)
{
    switch (format) {
#define QM_CASE(name, ...)                                                                                                                 \
    case ReportFormat::name:                                                                                                               \
        return make##name##Writer(file, options);
        QM_REPORT_FORMATS(QM_CASE)
#undef QM_CASE
    }
    raise(err::invalidProcedureCall, QStringLiteral("There is no report format number %1.").arg(static_cast<int>(format)),
          kFrameworkSource);
}

} // namespace qm
