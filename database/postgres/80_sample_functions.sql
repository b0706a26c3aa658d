-- The source of all sample values: hashes of a name and a number, so that the same size gives the same rows
-- everywhere (the SQL Server files compute the same ones). The functions last as long as the session.

-- 0 to n - 1
create function pg_temp.pick(what text, i bigint, n integer) returns integer
    immutable language sql
    return ('x' || substr(md5(what || ':' || i), 1, 7))::bit(28)::integer % n;

create function pg_temp.guid(what text, i bigint) returns uuid
    immutable language sql
    return md5(what || ':' || i)::uuid;

-- A whole second in 2024 or 2025
create function pg_temp.changed(what text, i bigint) returns timestamp
    immutable language sql
    return timestamp '2024-01-01' + pg_temp.pick(what || ' changed', i, 63158400) * interval '1 second';

create temp table given_name as
    select row_number() over () - 1 as n, name
      from unnest(array['Ada', 'Bela', 'Celia', 'Dario', 'Elin', 'Farid', 'Gesa', 'Hugo', 'Ilka', 'Jonas',
                        'Kaja', 'Ludo', 'Mira', 'Noël', 'Odile', 'Pelle', 'Renée', 'Søren', 'Tilda', 'Uwe',
                        'Vera', 'Wim', 'Yara', 'Zoë']) as name;

create temp table surname as
    select row_number() over () - 1 as n, name
      from unnest(array['Abendrot', 'Birkfelder', 'Corvane', 'D''Amberley', 'Eschwald', 'Fennmoor', 'Grünholt',
                        'Hallbrook', 'Isterling', 'Jorvesson', 'Kestrelle', 'Lindmarsh', 'Müller', 'Norrvik',
                        'O''Brannick', 'Pomeray', 'Quillfeather', 'Rosendahl', 'Sørbye', 'Tannewitz', 'Umbrecht',
                        'Vaucelle', 'Wexcombe', 'Ytterby', 'Zauner']) as name;

create temp table street as
    select row_number() over () - 1 as n, name
      from unnest(array['Alder Row', 'Bridge Lane', 'Cooper''s Yard', 'Dyke Road', 'Elm Court', 'Foundry Street',
                        'Gartenweg', 'Harbour Walk', 'Île Street', 'Juniper Close']) as name;

create temp table town as
    select row_number() over () - 1 as n, name
      from unnest(array['Norvale', 'Eastmere', 'Kaltbrück', 'Saint-Aubry', 'Wexford Hollow', 'Lowmarsh']) as name;
