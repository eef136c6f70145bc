#pragma once

#include <pthread.h>

#include "agentfw/kdh1.h"

/// Status of a response for which the Java application gave no answer.
inline constexpr int kZelHttpNoAnswer = 0x7C4C8025;

extern pthread_t s_httpServerThread;

/// Starts the thread that publishes and serves the agent's web service; nobody joins it. Returns
/// the result of pthread_create.
int zelStartHttpServer();

/// Routine of that thread: serves until the framework ends the service.
void* zelHttpServerThreadFunc(void* unused);

/// Answers one HTTP request through the Java application; returns the status of the response that
/// was sent, or kZelHttpNoAnswer when none was. Called on threads of the framework.
int zelDefaultHttpService(KDH1_request_struct* request, void* context);

/// Reads a request's content. On success returns 0 and a new buffer (null for an empty content)
/// that the caller frees with delete[].
int zelGetHttpData(KDH1_request_handle request, char** data, unsigned int* length);

/// Sends a response; a status other than 0 goes without content. Returns 0 or a failure code.
int zelSendHttpResponse(KDH1_request_handle request, int status, int media, const char* data,
                        unsigned int length);
