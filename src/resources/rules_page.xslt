<?xml version="1.0" encoding="UTF-8"?>
<!-- SPDX-License-Identifier: Apache-2.0 -->
<!--
  Makes the page that findings link to from validation_rules.xml, with the texts of
  rule_descriptions.xml beside this file. Every rule has the anchor "rule-" and its id.

    xsltproc -o LandscapeValidationRules.htm rules_page.xslt validation_rules.xml
-->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="html" encoding="UTF-8" doctype-system="about:legacy-compat" indent="no"/>

  <xsl:variable name="descriptions" select="document('rule_descriptions.xml')/RuleDescriptions/Description"/>

  <xsl:template match="/ValidationRules">
    <!-- A rule without a text, or a text without a rule, is a fault of the build. -->
    <xsl:if test="Rule[not(@id = $descriptions/@id)] or $descriptions[not(@name)][not(@id = current()/Rule/@id)]">
      <xsl:message terminate="yes">Rules and descriptions do not have the same ids.</xsl:message>
    </xsl:if>
    <xsl:variable name="entries" select="$descriptions[@name] | Rule"/>
    <html lang="en">
      <head>
        <meta name="viewport" content="width=device-width, initial-scale=1"/>
        <title>Landscape validation rules</title>
        <style>
:root { color-scheme: light dark; --text: #1b2430; --dim: #525d6c; --page: #f4f6f9; --panel: #ffffff;
  --strong: #eef1f5; --line: #d4dae3; --link: #0a58a8; --header: #22384d; --error: #b3201c;
  --warning: #944700; --info: #14573f; }
@media screen and (prefers-color-scheme: dark) {
  :root { --text: #e4e8ee; --dim: #a7b1bf; --page: #12161c; --panel: #1a2029; --strong: #222a35;
    --line: #343e4c; --link: #84bbf3; --header: #1c2b3a; --error: #ff8d85; --warning: #f2ae5c;
    --info: #58b394; } }
* { box-sizing: border-box; }
body { margin: 0; background: var(--page); color: var(--text);
  font: 1rem/1.55 system-ui, "Segoe UI", Arial, sans-serif; }
.page-header { display: flex; align-items: center; gap: .85rem; padding: .7rem 2rem; color: #ffffff;
  background: var(--header); }
.page-header img { flex: none; border-radius: 5px; box-shadow: 0 0 0 1px rgb(255 255 255 / 35%); }
.page-header a { margin-left: auto; color: inherit; }
.page-body { max-width: 60rem; margin: 0 auto; padding: 1.5rem 1.25rem 4rem; }
h1 { margin: 0; font-size: 1.125rem; line-height: 1.3; font-weight: 600; letter-spacing: .01em; }
h2 { margin: 0 0 .25rem; font-size: 1.15rem; line-height: 1.35; }
h3 { margin: 1rem 0 .2rem; font-size: .95rem; color: var(--dim); }
p { margin: 0 0 .5rem; }
a { color: var(--link); }
code, pre { font-family: ui-monospace, Consolas, "DejaVu Sans Mono", monospace; font-size: .88em; }
pre { margin: .25rem 0 0; padding: .75rem; overflow-x: auto; background: var(--strong);
  border: 1px solid var(--line); border-radius: 6px; }
table { width: 100%; margin: 1rem 0 2rem; border-collapse: separate; border-spacing: 0; overflow: hidden; }
th, td { padding: .35rem .6rem; border-bottom: 1px solid var(--line); text-align: left; vertical-align: top; }
th { color: var(--dim); font-weight: 600; }
td:first-child { width: 5.5rem; } td:nth-child(2) { width: 6rem; }
section, table { background: var(--panel); border: 1px solid var(--line); border-radius: 8px; }
section { margin: 1rem 0; padding: 1.25rem 1.5rem; scroll-margin-top: 1rem; }
@media (max-width: 40rem) { .page-header { padding: .7rem 1rem; } .page-body { padding: 1rem .75rem 3rem; }
  section { padding: 1rem; } }
section:target h2 { text-decoration: underline; text-underline-offset: .2em; }
.severity { font-weight: 600; }
.Error { color: var(--error); } .Warning { color: var(--warning); } .Info { color: var(--info); }
.about { color: var(--dim); }
.top { margin-top: 1rem; font-size: .9rem; }
        </style>
      </head>
      <body>
        <header class="page-header" id="top">
          <img src="naxlogo_nax_quelin_10.png" width="55" height="27" alt="NAX"/>
          <h1>Landscape validation rules</h1>
          <a href="ValidationResults.htm">Report</a>
        </header>
        <div class="page-body">
        <p>What each rule finds in a landscape, why it matters, and how to mend it. Errors and warnings
          keep users from their systems or soon will; infos are worth a look when you are tidying up.</p>
        <table>
          <thead>
            <tr><th scope="col">Rule</th><th scope="col">Severity</th><th scope="col">Name</th></tr>
          </thead>
          <tbody>
            <xsl:apply-templates select="$entries" mode="index">
              <xsl:sort select="@id" data-type="number"/>
            </xsl:apply-templates>
          </tbody>
        </table>
        <main>
          <xsl:apply-templates select="$entries" mode="entry">
            <xsl:sort select="@id" data-type="number"/>
          </xsl:apply-templates>
        </main>
        </div>
      </body>
    </html>
  </xsl:template>

  <xsl:template match="*" mode="index">
    <tr>
      <td><xsl:call-template name="label"/></td>
      <td class="severity {@type}"><xsl:value-of select="@type"/></td>
      <td><a href="#rule-{@id}"><xsl:value-of select="@name"/></a></td>
    </tr>
  </xsl:template>

  <xsl:template match="*" mode="entry">
    <xsl:variable name="description" select="$descriptions[@id = current()/@id]"/>
    <section id="rule-{@id}">
      <a>
        <xsl:attribute name="id"><xsl:call-template name="name-anchor"/></xsl:attribute>
      </a>
      <h2><xsl:call-template name="label"/>: <xsl:value-of select="@name"/></h2>
      <p class="severity {@type}"><xsl:value-of select="@type"/></p>
      <h3>What it finds</h3>
      <p><xsl:apply-templates select="$description/Finds/node()"/></p>
      <h3>Why it matters</h3>
      <p><xsl:apply-templates select="$description/Matters/node()"/></p>
      <h3>Example</h3>
      <pre><code><xsl:value-of select="$description/Example"/></code></pre>
      <h3>How to mend it</h3>
      <p><xsl:apply-templates select="$description/Mend/node()"/></p>
      <xsl:if test="@msg">
        <h3>Message</h3>
        <p class="about"><code><xsl:value-of select="normalize-space(@msg)"/></code></p>
      </xsl:if>
      <p class="top"><a href="#top">All rules</a></p>
    </section>
  </xsl:template>

  <!-- The report page knows rules by name only: their names with every character but
       letters and digits spelled as a dash. Schema findings have a name of their own there. -->
  <xsl:template name="name-anchor">
    <xsl:variable name="plain" select="translate(substring(@name, 1, 80),
        'ABCDEFGHIJKLMNOPQRSTUVWXYZ', 'abcdefghijklmnopqrstuvwxyz')"/>
    <xsl:variable name="other"
        select="translate($plain, 'abcdefghijklmnopqrstuvwxyz0123456789', '')"/>
    <xsl:variable name="dashes"
        select="'--------------------------------------------------------------------------------'"/>
    <xsl:choose>
      <xsl:when test="@id &lt; 0">name-validation-against-xsd</xsl:when>
      <xsl:otherwise>
        <xsl:value-of select="concat('name-', translate($plain, $other, $dashes))"/>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="label">
    <xsl:choose>
      <xsl:when test="@id &lt; 0">Schema</xsl:when>
      <xsl:otherwise>Rule <xsl:value-of select="@id"/></xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template match="code">
    <code><xsl:value-of select="."/></code>
  </xsl:template>
</xsl:stylesheet>
