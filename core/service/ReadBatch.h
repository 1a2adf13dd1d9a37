#pragma once
// A group of reads that belong together (see MicroscopeService::beginReads):
// from its making to its end, the service may answer them from one picture
// of the stand. A group that comes back (a device panel's Get_Status) is
// named, so that the service can ask for what it read the time before. The
// service object may go away meanwhile (an unload in a nested wait); the
// batch then ends with nothing to tell.
#include "core/service/MicroscopeService.h"

#include <QPointer>
#include <QString>

class ReadBatch {
public:
    explicit ReadBatch(MicroscopeService* service, const QString& group = {}) : m_service(service)
    {
        if (m_service)
            m_service->beginReads(group);
    }
    ~ReadBatch() { end(); }
    // Ends the group before the batch goes out of scope.
    void end()
    {
        if (m_service)
            m_service->endReads();
        m_service = nullptr;
    }
    ReadBatch(const ReadBatch&) = delete;
    ReadBatch& operator=(const ReadBatch&) = delete;

private:
    QPointer<MicroscopeService> m_service;
};
