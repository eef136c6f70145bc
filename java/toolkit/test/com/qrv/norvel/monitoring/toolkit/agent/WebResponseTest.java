package com.qrv.norvel.monitoring.toolkit.agent;

import static org.assertj.core.api.Assertions.assertThat;
import static org.assertj.core.api.Assertions.assertThatIllegalArgumentException;

import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import org.junit.jupiter.api.Test;

class WebResponseTest {
  @Test
  void numbersMediaTypesAsTheNativeSideDoes() throws Exception {
    Path header =
        Path.of(System.getProperty("zel.docs"), "../framework/include/agentfw/kdh1.h");
    String text = Files.readString(header);
    int begin = text.indexOf("kKdh1ContentTypes[] = {");
    String table = text.substring(begin, text.indexOf("};", begin));
    List<String> theirs = new ArrayList<>();
    Matcher quoted = Pattern.compile("\"([^\"]+)\"").matcher(table);
    while (quoted.find()) {
      theirs.add(quoted.group(1));
    }

    List<String> ours = new ArrayList<>();
    for (MediaType media : MediaType.values()) {
      assertThat(media.number()).isEqualTo(ours.size());
      ours.add(media.contentType());
    }

    assertThat(ours).isEqualTo(theirs).hasSizeGreaterThan(5);
  }

  @Test
  void makesTheUsualKinds() {
    assertThat(WebResponse.html("x").media()).isEqualTo(MediaType.HTML);
    assertThat(WebResponse.json("x").media()).isEqualTo(MediaType.JSON);
    assertThat(WebResponse.text("x").media()).isEqualTo(MediaType.TEXT);
    assertThat(WebResponse.text("x").code()).isEqualTo(200);
  }

  @Test
  void doesNotChangeWithTheBytesThatItWasMadeOf() {
    byte[] bytes = {1, 2};
    WebResponse response = WebResponse.of(200, MediaType.BINARY, bytes);

    bytes[0] = 9;
    response.content()[1] = 9;

    assertThat(response.content()).containsExactly(1, 2);
  }

  @Test
  void refusesTooMuchContent() {
    byte[] bytes = new byte[WebResponse.MAX_CONTENT + 1];

    assertThatIllegalArgumentException()
        .isThrownBy(() -> WebResponse.of(200, MediaType.BINARY, bytes))
        .withMessage("a web response of 16777217 bytes, more than 16777216");
  }

  @Test
  void escapesWhatHasAMeaningInAPage() {
    assertThat(Html.escape("<a href=\"x\" title='y'>&\u00e4</a>"))
        .isEqualTo("&lt;a href=&quot;x&quot; title=&#39;y&#39;&gt;&amp;\u00e4&lt;/a&gt;");
    assertThat(Html.escape(null)).isEmpty();
  }
}
