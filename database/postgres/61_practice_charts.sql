-- Charts and what is charted.

create table procs (
    unid            integer not null primary key,
    proc_name       varchar(60) not null,
    proc_code       char(5),
    fee             numeric(19,4),
    duration_min    smallint,
    mod_date        timestamp(3) not null default getdate()
);

create table procs_letter (
    unid            integer not null primary key,
    proc_id         integer not null,
    letter_type     varchar(20) not null,
    letter_name     varchar(60) not null,
    delay_days      smallint,
    mod_date        timestamp(3) not null default getdate()
);

create table chart_hdr (
    unid            uuid not null default gen_random_uuid() primary key,
    patient_id      integer not null,
    opened_date     timestamp(3),
    status          smallint,
    lock_f          boolean not null default false,
    mod_date        timestamp(3) not null default getdate()
);

create table chart_item (
    unid            uuid not null default gen_random_uuid() primary key,
    chart_hdr_id    uuid not null,
    patient_id      integer not null,
    proc_id         integer,
    tooth           smallint,
    surface         char(5),
    treatment_date  timestamp(3) not null,
    fee             numeric(19,4),
    hours           double precision,
    completed_f     boolean not null default false,
    mod_date        timestamp(3) not null default getdate()
);

-- Shares its key with the chart item it comments on.
create table chart_comment_info (
    unid            uuid not null primary key,
    dc_id           integer references dentist_company (dc_id),
    comment_text    varchar(2000),
    mod_date        timestamp(3) not null default getdate()
);

create table ada_code (
    unid            uuid not null default gen_random_uuid() primary key,
    ada_code        varchar(10) not null,
    ada_code_desc   varchar(120) not null,
    fee             numeric(19,4),
    mod_date        timestamp(3) not null default getdate()
);
