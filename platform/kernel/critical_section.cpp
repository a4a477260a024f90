#include <windows.h>

void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION section) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&section->mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
}

void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION section) { pthread_mutex_destroy(&section->mutex); }
void WINAPI EnterCriticalSection(LPCRITICAL_SECTION section) { pthread_mutex_lock(&section->mutex); }
BOOL WINAPI TryEnterCriticalSection(LPCRITICAL_SECTION section) { return pthread_mutex_trylock(&section->mutex) == 0; }
void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION section) { pthread_mutex_unlock(&section->mutex); }
