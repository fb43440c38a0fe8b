#pragma once
// The one thread of the process that serves call-backs; CNamePipeBase starts and ends it.

// Thread body of the listener: serves m_strPipeName. Null.
void* ListenThread(void* object);
