#pragma once
// A group of reads that belong together (see MicroscopeService::beginReads):
// from its making to its end, the service may answer them from one picture
// of the stand. The service object may go away meanwhile (an unload in a
// nested wait); the batch then ends with nothing to tell.
#include "core/service/MicroscopeService.h"

#include <QPointer>

class ReadBatch {
public:
    explicit ReadBatch(MicroscopeService* service) : m_service(service)
    {
        if (m_service)
            m_service->beginReads();
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
