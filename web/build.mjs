// Bundles the web remote for serving: the pages folder is copied whole (so
// the plain modules stay beside it, and a page that names them still works),
// then app.js with every module it imports, and style.css, become one script
// and one style sheet named by a hash of their content, and index.html is
// rewritten to load those. The service lets browsers keep hashed names for a
// year, so a returning page asks only for index.html.
//
//   node build.mjs <pages folder> <output folder>
import { build } from "esbuild";
import { cpSync, mkdirSync, readdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import path from "node:path";

const [source, output] = process.argv.slice(2).map((p) => p && path.resolve(p));
if (!source || !output) {
  console.error("usage: node build.mjs <pages folder> <output folder>");
  process.exit(2);
}

// Bundles of an earlier build would pile up in the output folder otherwise.
const HASHED = /^(app|style)\.[A-Za-z0-9]{8,}\.(js|css)$/;
mkdirSync(output, { recursive: true });
for (const name of readdirSync(output)) if (HASHED.test(name)) rmSync(path.join(output, name));
cpSync(source, output, { recursive: true });

const result = await build({
  entryPoints: [path.join(source, "app.js"), path.join(source, "style.css")],
  outdir: output,
  entryNames: "[name].[hash]",
  bundle: true,
  format: "esm",
  minify: true,
  // What the page already needs: module scripts, ??=, optional chaining.
  target: ["es2021"],
  // Icons are drawn inline; a url() in the style sheet would point at a
  // file beside it, which the copy above keeps.
  external: ["*.png", "*.svg", "*.woff2"],
  metafile: true,
  legalComments: "none",
  logLevel: "warning",
});

const names = {};
for (const [file, info] of Object.entries(result.metafile.outputs)) {
  if (!info.entryPoint) continue;
  names[path.basename(info.entryPoint)] = path.basename(file);
}
for (const wanted of ["app.js", "style.css"]) {
  if (!HASHED.test(names[wanted] || "")) throw new Error(`esbuild made no hashed bundle for ${wanted}: ${JSON.stringify(names)}`);
}

const pagePath = path.join(output, "index.html");
let page = readFileSync(path.join(source, "index.html"), "utf8");
for (const [attr, plain] of [["href", "style.css"], ["src", "app.js"]]) {
  const reference = `${attr}="${plain}"`;
  if (!page.includes(reference)) throw new Error(`index.html has no ${reference} to point at the bundle`);
  page = page.replace(reference, `${attr}="${names[plain]}"`);
}
writeFileSync(pagePath, page);
console.log(`web remote bundled: ${names["app.js"]}, ${names["style.css"]}`);
