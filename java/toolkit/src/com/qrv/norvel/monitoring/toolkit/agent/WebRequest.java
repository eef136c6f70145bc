package com.qrv.norvel.monitoring.toolkit.agent;

import java.util.List;

/**
 * A request of a browser. Immutable.
 *
 * <p>The method is not known here: a GET brings its query, a POST its content, both as {@link
 * #content()}. So an answer must not change anything that a link on a stranger's page could be
 * meant to change: that is what actions are for. Everything in here comes from outside and is not to
 * be trusted.
 */
public final class WebRequest {
  private final String prefix;
  private final String path;
  private final String content;
  private final String languages;

  /**
   * @param prefix the path that the handler is registered for
   * @param path path of the request: the prefix, or one below it
   * @param content query or content
   * @param languages the browser's preferred languages, as it sent them
   */
  public WebRequest(String prefix, String path, String content, String languages) {
    this.prefix = prefix;
    this.path = path;
    this.content = content;
    this.languages = languages;
  }

  /** The whole path below the application's service, "/targets/4711" say. */
  public String path() {
    return path;
  }

  /** What follows the handler's prefix: empty, or beginning with a slash. */
  public String pathBelow() {
    return prefix.equals("/") ? path : path.substring(prefix.length());
  }

  /** The query of a GET, or the content of a POST; may be empty. */
  public String content() {
    return content;
  }

  /** The parameters, when {@link #content()} is a query or comes from a form. */
  public QueryParameters parameters() {
    return QueryParameters.parse(content);
  }

  /**
   * The language that the browser prefers among those that the page has.
   *
   * @param offered tags as "en" or "pt-BR"; the first one is taken when none fits
   */
  public String language(List<String> offered) {
    return LanguageChoice.of(languages, offered);
  }
}
