package com.qrv.norvel.monitoring.toolkit.agent;

import java.nio.charset.StandardCharsets;

/**
 * The answer to a web request. Immutable.
 *
 * <p>The code is traced, yet the browser sees 200 with whatever content is given here. A handler
 * whose failure the browser has to notice throws.
 */
public final class WebResponse {
  /** The longest content, in bytes. */
  public static final int MAX_CONTENT = 16 * 1024 * 1024;

  private static final int OK = 200;

  private final int code;
  private final MediaType media;
  private final byte[] content;

  private WebResponse(int code, MediaType media, byte[] content) {
    if (content.length > MAX_CONTENT) {
      throw new IllegalArgumentException(
          "a web response of " + content.length + " bytes, more than " + MAX_CONTENT);
    }
    this.code = code;
    this.media = media;
    this.content = content;
  }

  /** A page. Foreign text in it goes through {@link Html#escape}. */
  public static WebResponse html(String page) {
    return of(OK, MediaType.HTML, page);
  }

  public static WebResponse json(String document) {
    return of(OK, MediaType.JSON, document);
  }

  public static WebResponse text(String text) {
    return of(OK, MediaType.TEXT, text);
  }

  /** Text of any kind, sent in UTF-8. */
  public static WebResponse of(int code, MediaType media, String content) {
    return new WebResponse(code, media, content.getBytes(StandardCharsets.UTF_8));
  }

  /** Content of any kind; copied. */
  public static WebResponse of(int code, MediaType media, byte[] content) {
    return new WebResponse(code, media, content.clone());
  }

  /** HTTP code. */
  public int code() {
    return code;
  }

  public MediaType media() {
    return media;
  }

  /** A copy. */
  public byte[] content() {
    return content.clone();
  }
}
