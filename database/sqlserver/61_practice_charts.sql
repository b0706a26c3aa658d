-- Charts and what is charted.

create table dbo.procs (
    unid            int not null primary key,
    proc_name       varchar(60) not null,
    proc_code       char(5),
    fee             money,
    duration_min    smallint,
    mod_date        datetime not null default getdate()
);

create table dbo.procs_letter (
    unid            int not null primary key,
    proc_id         int not null,
    letter_type     varchar(20) not null,
    letter_name     varchar(60) not null,
    delay_days      smallint,
    mod_date        datetime not null default getdate()
);

create table dbo.chart_hdr (
    unid            uniqueidentifier not null default newid() primary key,
    patient_id      int not null,
    opened_date     datetime,
    status          smallint,
    lock_f          bit not null default 0,
    mod_date        datetime not null default getdate()
);

create table dbo.chart_item (
    unid            uniqueidentifier not null default newid() primary key,
    chart_hdr_id    uniqueidentifier not null,
    patient_id      int not null,
    proc_id         int,
    tooth           smallint,
    surface         char(5),
    treatment_date  datetime not null,
    fee             money,
    hours           float,
    completed_f     bit not null default 0,
    mod_date        datetime not null default getdate()
);

-- Shares its key with the chart item it comments on.
create table dbo.chart_comment_info (
    unid            uniqueidentifier not null primary key,
    dc_id           int references dbo.dentist_company (dc_id),
    comment_text    varchar(2000),
    mod_date        datetime not null default getdate()
);

create table dbo.ada_code (
    unid            uniqueidentifier not null default newid() primary key,
    ada_code        varchar(10) not null,
    ada_code_desc   varchar(120) not null,
    fee             money,
    mod_date        datetime not null default getdate()
);
go
