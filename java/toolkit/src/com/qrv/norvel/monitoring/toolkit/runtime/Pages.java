package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.Agent;
import com.qrv.norvel.monitoring.toolkit.agent.Html;
import com.qrv.norvel.monitoring.toolkit.agent.MediaType;
import com.qrv.norvel.monitoring.toolkit.agent.WebHandler;
import com.qrv.norvel.monitoring.toolkit.agent.WebRequest;
import com.qrv.norvel.monitoring.toolkit.agent.WebResponse;
import com.qrv.norvel.monitoring.toolkit.bridge.Fields;
import com.qrv.norvel.monitoring.toolkit.bridge.Keys;
import com.qrv.norvel.monitoring.toolkit.bridge.MalformedMessageException;
import com.qrv.norvel.monitoring.toolkit.bridge.RequestFailedException;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.concurrent.Executor;

/** The application's pages. Filled while the application is configured, constant from then on. */
final class Pages {
  private static final String ROOT = "/";
  private static final int NOT_FOUND = 404;

  private final BoundedCalls calls;
  private final Executor threads;
  private final ArrayList<Page> pages = new ArrayList<Page>();

  Pages(BoundedCalls calls, Executor threads) {
    this.calls = calls;
    this.threads = threads;
  }

  void add(String prefix, long deadlineMs, WebHandler handler) {
    if (!isPrefix(prefix)) {
      throw new IllegalArgumentException(
          "page '" + prefix + "': expected \"/\", or \"/name\" without a slash at the end");
    }
    Deadlines.check("page " + prefix, deadlineMs);
    if (handler == null) {
      throw new IllegalArgumentException("page " + prefix + " has no handler");
    }
    for (int i = 0; i < pages.size(); i++) {
      if (pages.get(i).prefix.equals(prefix)) {
        throw new IllegalArgumentException("page " + prefix + " is registered twice");
      }
    }
    pages.add(new Page(prefix, deadlineMs, handler));
  }

  /** Answers a web request with a page. A handler that fails fails the request. */
  HashMap<Integer, Object> serve(Fields body)
      throws RequestFailedException, MalformedMessageException {
    String path = body.text(Keys.Web.PATH);
    String content = body.text(Keys.Web.CONTENT);
    String language = body.text(Keys.Web.LANGUAGE);
    Page page = find(path);
    if (page == null) {
      return reply(notFound(path));
    }
    Answer answer =
        new Answer(page.handler, new WebRequest(page.prefix, path, content, language));
    calls.callInTurn(
        threads, "page " + page.prefix, Agent.MAX_CALLS, page.deadlineMs, answer);
    return reply(answer.response);
  }

  /** The page with the longest prefix of a path that ends at one of its slashes, or null. */
  private Page find(String path) {
    Page best = null;
    for (int i = 0; i < pages.size(); i++) {
      Page page = pages.get(i);
      if (page.covers(path) && (best == null || page.prefix.length() > best.prefix.length())) {
        best = page;
      }
    }
    return best;
  }

  private static HashMap<Integer, Object> reply(WebResponse response) {
    HashMap<Integer, Object> reply = new HashMap<Integer, Object>();
    reply.put(Keys.WebReply.CODE, Integer.valueOf(response.code()));
    reply.put(Keys.WebReply.MEDIA, Integer.valueOf(response.media().number()));
    reply.put(Keys.WebReply.CONTENT, response.content());
    return reply;
  }

  private static WebResponse notFound(String path) {
    return WebResponse.of(
        NOT_FOUND,
        MediaType.HTML,
        "<!DOCTYPE html><title>404 Not found</title><h1>Not found</h1>"
            + "<p>The application has no page "
            + Html.escape(path)
            + "</p>");
  }

  private static boolean isPrefix(String prefix) {
    return ROOT.equals(prefix)
        || (prefix != null
            && prefix.startsWith("/")
            && !prefix.endsWith("/")
            && prefix.indexOf("//") < 0);
  }

  private static final class Page {
    final String prefix;
    final long deadlineMs;
    final WebHandler handler;

    Page(String prefix, long deadlineMs, WebHandler handler) {
      this.prefix = prefix;
      this.deadlineMs = deadlineMs;
      this.handler = handler;
    }

    boolean covers(String path) {
      return prefix.equals(ROOT)
          || (path.startsWith(prefix)
              && (path.length() == prefix.length() || path.charAt(prefix.length()) == '/'));
    }
  }

  private static final class Answer implements Task {
    private final WebHandler handler;
    private final WebRequest request;
    private volatile WebResponse response;

    Answer(WebHandler handler, WebRequest request) {
      this.handler = handler;
      this.request = request;
    }

    @Override
    public void run() throws Exception {
      response = handler.answer(request);
      if (response == null) {
        throw new IllegalStateException("the handler has returned no response");
      }
    }
  }
}
