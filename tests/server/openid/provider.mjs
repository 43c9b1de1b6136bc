// An OpenID provider for the tests: `node provider.mjs MODULES CALLBACK`, with the folder that
// holds the installed modules. It prints its address once it listens on a free port of this
// machine, and asks for any login and a consent by pages of its own.
import { createServer } from 'node:http';
import { pathToFileURL } from 'node:url';
import path from 'node:path';

const [modules, callback] = process.argv.slice(2);
const entry = path.join(modules, 'oidc-provider', 'lib', 'index.js');
const { Provider } = await import(pathToFileURL(entry));

const server = createServer();
server.listen(0, '127.0.0.1', () => {
  const issuer = `http://127.0.0.1:${server.address().port}`;
  const provider = new Provider(issuer, {
    clients: [{
      client_id: 'lumivane',
      client_secret: 'a secret of the tests & no other',
      redirect_uris: [callback],
      token_endpoint_auth_method: 'client_secret_post',
    }],
    claims: { openid: ['sub'], email: ['email', 'email_verified'], profile: ['name'] },
    pkce: { required: () => true },
    cookies: { keys: ['of the tests'] },
    async findAccount(context, id) {
      return {
        accountId: id,
        claims: async () => ({
          sub: id, email: `${id}@example.org`, email_verified: true, name: `Real ${id}`,
        }),
      };
    },
  });
  server.on('request', provider.callback());
  console.log(issuer);
});
process.stdin.on('end', () => process.exit(0)).resume();
